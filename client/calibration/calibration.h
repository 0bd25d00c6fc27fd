// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "third_octaves.h"

namespace hidlaudio::client {

/** Further channels make the service lose the delays of all of them. */
constexpr size_t kMaxChannels = 9;

/** Gains and levels reach from -9 dB to 9 dB. */
constexpr double kLargestGain = 9;

/** Delays reach from 0 ms to 10 ms. */
constexpr double kLongestDelay = 10;

/** The gain of each third-octave band, in dB. */
using Gains = std::array<double, kBands>;

/** What a user wants for one channel; not checked against the limits. */
struct ChannelCalibration {
    std::string channel;
    double level = 0;  // dB
    double delay = 0;  // ms
    Gains gains{};
};

using Calibration = std::vector<ChannelCalibration>;

/** What was read from a text. The readers know no file names: whoever tells the user adds it. */
struct Reading {
    Calibration calibration;          // complete only where there are no faults
    std::vector<std::string> faults;  // each a reason to send nothing
    std::vector<std::string> notes;   // each something that the user must know
};

/** "" where the service keeps a channel of that name as it is, else why it does not. */
std::string checkChannelName(std::string_view name);

}  // namespace hidlaudio::client
