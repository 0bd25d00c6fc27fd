// SPDX-License-Identifier: Apache-2.0
#include "filter_text.h"

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "quantity.h"
#include "words.h"

namespace hidlaudio::client {
namespace {

using Words = std::vector<std::string>;

constexpr double kShelfQ = 0.7071067811865476;  // the steepest that does not overshoot

struct ShapeName {
    const char* name;
    FilterShape shape;
};

constexpr ShapeName kShapes[] = {{"pk", FilterShape::Peak},      {"peq", FilterShape::Peak},
                                 {"ls", FilterShape::LowShelf},  {"lsc", FilterShape::LowShelf},
                                 {"hs", FilterShape::HighShelf}, {"hsc", FilterShape::HighShelf}};

struct Values {
    std::optional<double> frequency, gain, q, bandwidth;
};

struct Setting {
    const char* name;
    const char* before;  // a word that may stand before the number
    const char* after;   // one that may stand behind it
    Quantity (*read)(std::string_view text);
    std::optional<double> Values::*value;
};

Quantity readCentre(std::string_view text) {
    return readFrequency(text, 1, kSamplingRate / 2 - 1);
}

Quantity readQ(std::string_view text) {
    return readQuantity("Q", text, 0.01, 100);
}

Quantity readBandwidth(std::string_view text) {
    return readQuantity("bandwidth", text, 0.01, 10);
}

constexpr Setting kSettings[] = {{"fc", "", "hz", readCentre, &Values::frequency},
                                 {"gain", "", "db", readGain, &Values::gain},
                                 {"q", "", "", readQ, &Values::q},
                                 {"bw", "oct", "", readBandwidth, &Values::bandwidth}};

const Setting* findSetting(const std::string& name) {
    for (const Setting& setting : kSettings) {
        if (name == setting.name) return &setting;
    }
    return nullptr;
}

std::optional<FilterShape> findShape(const std::string& name) {
    for (const ShapeName& known : kShapes) {
        if (name == known.name) return known.shape;
    }
    return std::nullopt;
}

/** Takes the setting whose name stands at `next`, and moves that behind it; "" or why it cannot. */
std::string takeSetting(const Words& words, size_t& next, Values& values) {
    const Setting* setting = findSetting(words[next]);
    if (setting == nullptr) return quote(words[next]) + " in a filter is not understood";
    if (values.*setting->value) return quote(words[next]) + " is given twice";
    ++next;
    if (next < words.size() && words[next] == setting->before) ++next;
    if (next == words.size()) return "nothing behind " + quote(setting->name);
    const Quantity quantity = setting->read(words[next]);
    values.*setting->value = quantity.value;
    ++next;
    if (next < words.size() && words[next] == setting->after) ++next;
    return quantity.reason;
}

/** The quality whose peak is that many octaves wide between the points of half its gain. */
double qOfBandwidth(double octaves, double frequency) {
    const double angle = 2 * std::acos(-1.0) * frequency / kSamplingRate;
    return 1 / (2 * std::sinh(std::log(2.0) / 2 * octaves * angle / std::sin(angle)));
}

FilterLine makeFilter(FilterShape shape, const Values& values) {
    if (!values.frequency) return {false, {}, "the filter has no \"Fc\""};
    if (!values.gain) return {false, {}, "the filter has no \"Gain\""};
    if (values.q && values.bandwidth) return {false, {}, "the filter has both \"Q\" and \"BW Oct\""};
    const bool shelf = shape != FilterShape::Peak;
    if (!values.q && !values.bandwidth && !shelf)
        return {false, {}, "the filter has neither \"Q\" nor \"BW Oct\""};
    const double q =
        values.bandwidth ? qOfBandwidth(*values.bandwidth, *values.frequency) : values.q.value_or(kShelfQ);
    return {true, {shape, *values.frequency, *values.gain, q}, ""};
}

}  // namespace

FilterLine parseFilter(std::string_view text) {
    const Words words = splitWords(text);
    if (words.empty() || (words[0] != "on" && words[0] != "off"))
        return {false, {}, "a filter begins with ON or OFF"};
    if (words[0] == "off" || (words.size() == 2 && words[1] == "none")) return {};
    if (words.size() == 1) return {false, {}, "the filter has no type"};
    const std::optional<FilterShape> shape = findShape(words[1]);
    if (!shape) {
        return {false,
                {},
                "a filter of type " + quote(words[1]) + " is no peak or shelf, which alone are supported"};
    }
    Values values;
    for (size_t next = 2; next < words.size();) {
        const std::string reason = takeSetting(words, next, values);
        if (!reason.empty()) return {false, {}, reason};
    }
    return makeFilter(*shape, values);
}

}  // namespace hidlaudio::client
