// SPDX-License-Identifier: Apache-2.0
#include "calibration_file.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "calibration_json.h"
#include "calibration_limits.h"
#include "client/calibration/import/text_lines.h"
#include "client/calibration/import/text_tokens.h"
#include "json_syntax.h"

namespace hidlaudio::client {
namespace {

using nlohmann::json;

constexpr const char* kKeys[] = {"channel", "level", "delay", "equalizer"};

/** State of parsing one entry of the file. */
struct Entry {
    const json& value;
    std::string pointer;
    ChannelCalibration channel;
    std::vector<std::string>& faults;

    /** Adds a fault with the channel's name, if known. `below` is a JSON pointer relative to the entry. */
    void fault(const std::string& below, const std::string& what) {
        const std::string name = channel.channel.empty() ? "" : " (" + channel.channel + ")";
        faults.push_back(pointer + below + name + ": " + what);
    }
};

/** Returns a value as text for messages. */
std::string shown(const json& value) {
    return printable(value.dump(-1, ' ', true, json::error_handler_t::replace));
}

void readName(Entry& entry) {
    const auto found = entry.value.find("channel");
    if (found == entry.value.end()) return;
    if (!found->is_string()) return entry.fault("/channel", shown(*found) + " is not a string");
    const std::string reason = checkChannelName(found->get_ref<const std::string&>());
    if (!reason.empty()) return entry.fault("/channel", reason);
    entry.channel.channel = found->get<std::string>();
}

void readNumber(Entry& entry, const char* key, double& number) {
    const auto found = entry.value.find(key);
    if (found == entry.value.end()) return;
    if (!found->is_number()) return entry.fault(std::string("/") + key, shown(*found) + " is not a number");
    number = found->get<double>();
}

void readGains(Entry& entry) {
    const auto found = entry.value.find("equalizer");
    if (found == entry.value.end()) return;
    if (!found->is_array()) return entry.fault("/equalizer", shown(*found) + " is not a list of gains");
    if (found->size() != kBands) {
        entry.fault("/equalizer", std::to_string(found->size()) + " gains; expected " +
                                      std::to_string(kBands) + ", for the bands from 20 Hz to 20 kHz");
    }
    for (size_t band = 0; band < std::min(found->size(), kBands); ++band) {
        const json& gain = (*found)[band];
        if (gain.is_number()) {
            entry.channel.gains[band] = gain.get<double>();
        } else {
            entry.fault("/equalizer/" + std::to_string(band),
                        bandName(band) + ": " + shown(gain) + " is not a number");
        }
    }
}

void checkKeys(Entry& entry) {
    for (const char* key : kKeys) {
        if (!entry.value.contains(key)) entry.fault("", std::string("\"") + key + "\" is missing");
    }
    for (const auto& item : entry.value.items()) {
        if (std::find(std::begin(kKeys), std::end(kKeys), item.key()) == std::end(kKeys))
            entry.fault("", "unknown key " + quote(item.key()));
    }
}

void checkUnique(Entry& entry, const Calibration& before) {
    const auto twice = std::find_if(before.begin(), before.end(), [&entry](const ChannelCalibration& other) {
        return !other.channel.empty() && other.channel == entry.channel.channel;
    });
    if (twice != before.end()) entry.fault("", "the channel is given twice");
}

void readEntry(const json& value, size_t index, Reading& reading) {
    Entry entry{value, "/" + std::to_string(index), {}, reading.faults};
    if (value.is_object()) {
        readName(entry);
        checkKeys(entry);
        checkUnique(entry, reading.calibration);
        readNumber(entry, "level", entry.channel.level);
        readNumber(entry, "delay", entry.channel.delay);
        readGains(entry);
    } else {
        entry.fault("", shown(value) + " is not an object");
    }
    reading.calibration.push_back(entry.channel);
}

}  // namespace

Reading readCalibrationFile(std::string_view text) {
    text = withoutByteOrderMark(text);
    Reading reading;
    reading.faults = findJsonFaults(text);
    const json document = json::parse(text, nullptr, false);
    if (document.is_discarded()) return reading;
    if (!document.is_array()) {
        reading.faults.emplace_back("the outermost value must be a list of channels");
        return reading;
    }
    if (document.size() > kMaxChannels) {
        reading.faults.push_back(std::to_string(document.size()) + " channels; the limit is " +
                                 std::to_string(kMaxChannels));
    }
    for (size_t i = 0; i < std::min(document.size(), kMaxChannels); ++i) readEntry(document[i], i, reading);
    return reading;
}

std::string writeCalibrationFile(const Calibration& calibration) {
    std::string text = "[";
    for (const ChannelCalibration& channel : calibration) {
        const json value = channel;
        const auto dump = [&value](const char* key) {
            return value[key].dump(-1, ' ', false, json::error_handler_t::replace);
        };
        text += text.size() > 1 ? ",\n" : "\n";
        text += R"(  {"channel": )" + dump("channel") + R"(, "level": )" + dump("level") + R"(, "delay": )" +
                dump("delay") + ",\n   \"equalizer\": " + dump("equalizer") + "}";
    }
    return text + (text.size() > 1 ? "\n]\n" : "]\n");
}

}  // namespace hidlaudio::client
