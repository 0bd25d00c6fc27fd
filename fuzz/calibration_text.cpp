// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "client/calibration/calibration.h"
#include "client/calibration/import/import.h"
#include "input.h"

namespace {

using namespace hidlaudio::client;  // NOLINT: names of the tested code
using hidlaudio::fuzz::require;

bool isPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

bool isTaken(const ChannelCalibration& channel) {
    const auto isGain = [](double gain) { return std::fabs(gain) <= kLargestGain; };
    return checkChannelName(channel.channel).empty() && isGain(channel.level) && channel.delay >= 0 &&
           channel.delay <= kLongestDelay && std::all_of(channel.gains.begin(), channel.gains.end(), isGain);
}

void import(std::string_view text, const TextOptions& options, BeyondLimit beyond) {
    const Reading reading = importCalibration(text, options, beyond);
    require(std::all_of(reading.faults.begin(), reading.faults.end(), isPrintable));
    require(std::all_of(reading.notes.begin(), reading.notes.end(), isPrintable));
    if (!reading.faults.empty()) return;
    require(reading.calibration.size() <= kMaxChannels);
    require(std::all_of(reading.calibration.begin(), reading.calibration.end(), isTaken));
}

}  // namespace

/**
 * Imports calibration files and equalizers of room-correction programs. The import must only accept
 * values that the service accepts, and all messages must be printable. Input: the text.
 */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    import(text, {}, BeyondLimit::Clamp);
    import(text, {}, BeyondLimit::Refuse);
    import(text, {{"FL", "C"}, -1.5, 2.0}, BeyondLimit::Clamp);
    return 0;
}
