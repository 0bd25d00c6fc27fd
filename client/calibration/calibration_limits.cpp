// SPDX-License-Identifier: Apache-2.0
#include "calibration_limits.h"

#include <algorithm>

#include "client/calibration/import/text_tokens.h"
#include "decimal.h"

namespace hidlaudio::client {
namespace {

/** The checks of one channel. */
struct Check {
    ChannelCalibration& channel;
    std::string pointer;  // JSON pointer to the channel; empty if messages have none
    BeyondLimit beyond;
    Reading& reading;
};

/** Returns the start of a message. The channel's name is empty if it was rejected. */
std::string placeOf(const Check& check, const std::string& name, const std::string& below) {
    const std::string& channel = check.channel.channel;
    const std::string value = channel.empty() ? name : channel + ", " + name;
    return check.pointer.empty() ? value + ": " : check.pointer + below + " (" + value + "): ";
}

void limitDecibels(const Check& check, double& decibels, const std::string& name, const std::string& below) {
    const double clamped = std::clamp(decibels, -kLargestGain, kLargestGain);
    if (shortText(decibels) == shortText(clamped)) return;  // equal as floats
    const std::string message = placeOf(check, name, below) + shortText(decibels) +
                                " dB exceeds the limit of " + shortText(clamped) + " dB";
    if (check.beyond == BeyondLimit::Clamp) {
        check.reading.notes.push_back(message + "; the limit is used");
        decibels = clamped;
    } else {
        check.reading.faults.push_back(message + "; --clamp uses the limit");
    }
}

void limitDelay(const Check& check) {
    const double delay = check.channel.delay;
    if (delay >= 0 && shortText(delay) == shortText(std::min(delay, kLongestDelay))) return;
    check.reading.faults.push_back(placeOf(check, "delay", "/delay") + shortText(delay) +
                                   " ms is outside 0 to 10 ms");
}

}  // namespace

std::string checkChannelName(std::string_view name) {
    constexpr size_t kLongestName = 4;
    const auto isVisible = [](char c) { return c > ' ' && c < '\x7f'; };
    // The service stores four bytes, and a first byte of 0 or 1 marks the end of its file.
    const bool accepted =
        !name.empty() && name.size() <= kLongestName && std::all_of(name.begin(), name.end(), isVisible);
    return accepted ? "" : quote(name) + " is not a channel name of 1 to 4 ASCII characters";
}

void applyLimits(Reading& reading, BeyondLimit beyond, Place place) {
    for (size_t i = 0; i < reading.calibration.size(); ++i) {
        const std::string pointer = place == Place::JsonPointer ? "/" + std::to_string(i) : "";
        const Check check{reading.calibration[i], pointer, beyond, reading};
        limitDecibels(check, check.channel.level, "level", "/level");
        limitDelay(check);
        for (size_t band = 0; band < kBands; ++band)
            limitDecibels(check, check.channel.gains[band], bandName(band),
                          "/equalizer/" + std::to_string(band));
    }
}

}  // namespace hidlaudio::client
