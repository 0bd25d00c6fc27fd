// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <string>
#include <vector>

#include "third_octaves.h"

namespace hidlaudio::client {

/** The service's limit. With more channels, it loses the delays of all channels. */
constexpr size_t kMaxChannels = 9;

/** Gains and levels are limited to -9 dB to 9 dB. */
constexpr double kLargestGain = 9;

/** Delays are limited to 0 ms to 10 ms. */
constexpr double kLongestDelay = 10;

/** The gain of each third-octave band, in dB. */
using Gains = std::array<double, kBands>;

/** The requested values of one channel, not checked against the limits. */
struct ChannelCalibration {
    std::string channel;
    double level = 0;  // dB
    double delay = 0;  // ms
    Gains gains{};
};

using Calibration = std::vector<ChannelCalibration>;

/** The result of parsing a text. The messages do not contain the file name. */
struct Reading {
    Calibration calibration;          // complete only if there are no faults
    std::vector<std::string> faults;  // errors: the calibration must not be stored
    std::vector<std::string> notes;   // warnings for the user
};

}  // namespace hidlaudio::client
