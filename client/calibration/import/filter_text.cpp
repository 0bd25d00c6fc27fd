// SPDX-License-Identifier: Apache-2.0
#include "filter_text.h"

#include <stdio.h>

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "parse_number.h"
#include "text_tokens.h"

namespace hidlaudio::client {
namespace {

using Words = std::vector<std::string>;

constexpr double kLowestCenter = 1;
constexpr double kHighestCenter = kSamplingRate / 2 - 1;
constexpr double kDefaultSlope = 0.9 * 12;  // dB per octave

struct Type {
    const char* name;
    FilterShape shape;
    bool needsWidth;  // Q or BW Oct
    bool corner;      // Fc is the corner of the shelf, not its center
};

constexpr Type kTypes[] = {
    {"pk", FilterShape::Peak, true, false},       {"peq", FilterShape::Peak, true, false},
    {"ls", FilterShape::LowShelf, false, true},   {"hs", FilterShape::HighShelf, false, true},
    {"lsc", FilterShape::LowShelf, false, false}, {"hsc", FilterShape::HighShelf, false, false},
    {"ls q", FilterShape::LowShelf, true, false}, {"hs q", FilterShape::HighShelf, true, false},
};

struct Values {
    std::optional<double> frequency, gain, q, bandwidth, slope;
};

struct Setting {
    const char* name;
    const char* before;  // optional word before the number
    const char* after;   // optional word after the number
    ParsedNumber (*parse)(std::string_view text);
    std::optional<double> Values::* value;
};

ParsedNumber parseCenter(std::string_view text) {
    return parseFrequency(text, kLowestCenter, kHighestCenter);
}

ParsedNumber parseQ(std::string_view text) {
    return parseInRange("Q", text, 0.01, 100);
}

ParsedNumber parseBandwidth(std::string_view text) {
    return parseInRange("bandwidth", text, 0.01, 10);
}

constexpr Setting kSettings[] = {{"fc", "", "hz", parseCenter, &Values::frequency},
                                 {"gain", "", "db", parseGain, &Values::gain},
                                 {"q", "", "", parseQ, &Values::q},
                                 {"bw", "oct", "", parseBandwidth, &Values::bandwidth}};

const Setting* findSetting(const std::string& name) {
    for (const Setting& setting : kSettings) {
        if (name == setting.name) return &setting;
    }
    return nullptr;
}

const Type* findType(const std::string& name) {
    for (const Type& type : kTypes) {
        if (name == type.name) return &type;
    }
    return nullptr;
}

/** Returns the type whose name is at `next`, or `nullptr` if it is unknown. Advances `next` past the name. */
const Type* parseType(const Words& words, size_t& next) {
    const std::string& name = words[next++];
    // "Q" is part of the type in "LS Q Fc 100 Hz", but not in "LS Q 0.7 Fc 100 Hz".
    const bool hasQ = next < words.size() && words[next] == "q" &&
                      (next + 1 == words.size() || findSetting(words[next + 1]) != nullptr);
    const Type* type = hasQ ? findType(name + " q") : nullptr;
    if (type == nullptr) return findType(name);
    ++next;
    return type;
}

/**
 * Parses the slope of a shelf, such as "6 dB", if there is one at `next`, and advances `next` past it.
 * Returns an empty string, or an error message.
 */
std::string parseSlope(const Words& words, size_t& next, Values& values) {
    if (next + 1 >= words.size() || words[next + 1] != "db") return "";
    const ParsedNumber slope = parseInRange("slope", words[next], 0.1, 24);
    values.slope = slope.value;
    next += 2;
    return slope.reason;
}

/** Parses the setting at `next` and advances `next` past it. Returns an empty string, or an error message. */
std::string parseSetting(const Words& words, size_t& next, Values& values) {
    const Setting* setting = findSetting(words[next]);
    if (setting == nullptr) return "unknown word " + quote(words[next]) + " in a filter";
    if (values.*setting->value) return quote(words[next]) + " is given twice";
    ++next;
    if (next < words.size() && words[next] == setting->before) ++next;
    if (next == words.size()) return "no value after " + quote(setting->name);
    const ParsedNumber number = setting->parse(words[next]);
    values.*setting->value = number.value;
    ++next;
    if (next < words.size() && words[next] == setting->after) ++next;
    return number.reason;
}

/** Returns the Q of a peak whose points of half the gain are `octaves` apart. */
double qOfBandwidth(double octaves, double frequency) {
    const double angle = 2 * std::acos(-1.0) * frequency / kSamplingRate;
    return 1 / (2 * std::sinh(std::log(2.0) / 2 * octaves * angle / std::sin(angle)));
}

/**
 * Returns A + 1/A of a shelf, A being its amplitude 10^(gain/40). The Q of the shelf and its slope S, which
 * is 1 at 12 dB per octave, are related by 1/Q^2 = (A + 1/A)(1/S - 1) + 2.
 */
double sumOfAmplitudes(double gain) {
    const double amplitude = std::pow(10.0, gain / 40);
    return amplitude + 1 / amplitude;
}

/** Returns the Q of a shelf, or NaN if no shelf with this gain is so steep. */
double qOfSlope(double slope, double gain) {
    return 1 / std::sqrt(sumOfAmplitudes(gain) * (12 / slope - 1) + 2);
}

/** Returns the ratio of the center frequency of a low shelf to its corner frequency. */
double centerOverCorner(double q, double gain) {
    const double inverseSlope = (1 / (q * q) - 2) / sumOfAmplitudes(gain) + 1;
    return std::pow(10.0, std::fabs(gain) / 80 * inverseSlope);
}

FilterLine refuse(const std::string& reason) {
    return {false, {}, reason, ""};
}

/** Returns the Q of the filter, or NaN if no filter has its slope. */
double qOf(const Values& values) {
    if (values.q) return *values.q;
    if (values.bandwidth) return qOfBandwidth(*values.bandwidth, values.frequency.value_or(0));
    return qOfSlope(values.slope.value_or(kDefaultSlope), values.gain.value_or(0));
}

/** Converts the frequency of a shelf from its corner to its center. */
FilterLine moveToCenter(Filter filter) {
    const bool low = filter.shape == FilterShape::LowShelf;
    const double factor = centerOverCorner(filter.q, filter.gain);
    filter.frequency = low ? filter.frequency * factor : filter.frequency / factor;
    // False for NaN as well.
    const bool isValid = filter.frequency >= kLowestCenter && filter.frequency <= kHighestCenter;
    if (!isValid) return refuse("the shelf does not have half its gain between 1 and 23999 Hz");
    char note[160];
    snprintf(note, sizeof(note),
             "Fc is the corner of the shelf, as in Equalizer APO: half the gain is at %.0f Hz; with type "
             "%sC it would be at Fc",
             filter.frequency, low ? "LS" : "HS");
    return {true, filter, "", note};
}

FilterLine makeFilter(const Type& type, const Values& values) {
    if (!values.frequency) return refuse("the filter has no \"Fc\"");
    if (!values.gain) return refuse("the filter has no \"Gain\"");
    if (values.q && values.bandwidth) return refuse("the filter has both \"Q\" and \"BW Oct\"");
    if (values.slope && (values.q || values.bandwidth))
        return refuse("the filter has both a slope and a width");
    if (type.needsWidth && !values.q && !values.bandwidth)
        return refuse("the filter has neither \"Q\" nor \"BW Oct\"");
    const Filter filter{type.shape, *values.frequency, *values.gain, qOf(values)};
    if (!(filter.q > 0)) return refuse("no shelf with this gain is so steep");
    return type.corner ? moveToCenter(filter) : FilterLine{true, filter, "", ""};
}

}  // namespace

FilterLine parseFilter(std::string_view text) {
    const Words words = splitWords(text);
    if (words.empty() || (words[0] != "on" && words[0] != "off"))
        return refuse("a filter must begin with ON or OFF");
    if (words[0] == "off" || (words.size() == 2 && words[1] == "none")) return {};
    if (words.size() == 1) return refuse("the filter has no type");
    size_t next = 1;
    const Type* type = parseType(words, next);
    if (type == nullptr) {
        return refuse("filter type " + quote(words[1]) + " is not supported; only peaks and shelves are");
    }
    Values values;
    std::string reason = type->shape != FilterShape::Peak ? parseSlope(words, next, values) : "";
    while (next < words.size() && reason.empty()) reason = parseSetting(words, next, values);
    return reason.empty() ? makeFilter(*type, values) : refuse(reason);
}

}  // namespace hidlaudio::client
