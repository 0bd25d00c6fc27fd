// SPDX-License-Identifier: Apache-2.0
#include "calibration_limits.h"

#include <algorithm>

#include "decimal.h"

namespace hidlaudio::client {
namespace {

/** A level or gain of a channel. */
struct Value {
    std::string name;     // "FL, band 3 (40 Hz)"
    std::string pointer;  // "/0/equalizer/3"
    double& decibels;
};

/** Returns the name of a value for messages. The channel's name is empty if it was rejected. */
std::string nameOf(const ChannelCalibration& channel, const std::string& what) {
    return channel.channel.empty() ? what : channel.channel + ", " + what;
}

std::string placeOf(const std::string& name, const std::string& pointer, Place place) {
    return place == Place::JsonPointer ? pointer + " (" + name + ")" : name;
}

void limitDecibels(const Value& value, BeyondLimit beyond, Place place, Reading& reading) {
    const double clamped = std::clamp(value.decibels, -kLargestGain, kLargestGain);
    if (shortText(value.decibels) == shortText(clamped)) return;  // equal as floats
    const std::string what = placeOf(value.name, value.pointer, place) + ": " + shortText(value.decibels) +
                             " dB exceeds the limit of " + shortText(clamped) + " dB";
    if (beyond == BeyondLimit::Clamp) {
        reading.notes.push_back(what + "; the limit is used");
        value.decibels = clamped;
    } else {
        reading.faults.push_back(what + "; --clamp uses the limit");
    }
}

void limitDelay(const ChannelCalibration& channel, const std::string& pointer, Place place,
                Reading& reading) {
    if (channel.delay >= 0 && shortText(channel.delay) == shortText(std::min(channel.delay, kLongestDelay)))
        return;
    reading.faults.push_back(placeOf(nameOf(channel, "delay"), pointer + "/delay", place) + ": " +
                             shortText(channel.delay) + " ms is outside 0 to 10 ms");
}

}  // namespace

void applyLimits(Reading& reading, BeyondLimit beyond, Place place) {
    for (size_t i = 0; i < reading.calibration.size(); ++i) {
        ChannelCalibration& channel = reading.calibration[i];
        const std::string pointer = "/" + std::to_string(i);
        limitDecibels({nameOf(channel, "level"), pointer + "/level", channel.level}, beyond, place, reading);
        limitDelay(channel, pointer, place, reading);
        for (size_t band = 0; band < kBands; ++band) {
            limitDecibels({nameOf(channel, bandName(band)), pointer + "/equalizer/" + std::to_string(band),
                           channel.gains[band]},
                          beyond, place, reading);
        }
    }
}

}  // namespace hidlaudio::client
