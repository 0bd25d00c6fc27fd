// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "client/calibration/applied_values.h"
#include "client/calibration/calibration_file.h"
#include "client/calibration/calibration_plot.h"
#include "client/calibration/calibration_svg.h"
#include "client/calibration/calibration_table.h"
#include "client/calibration/import.h"
#include "input.h"

namespace {

using namespace hidlaudio::client;  // NOLINT: of what is tried
using hidlaudio::fuzz::require;

bool isPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

bool isTaken(const ChannelCalibration& channel) {
    const auto isGain = [](double gain) { return std::fabs(gain) <= kLargestGain; };
    return checkChannelName(channel.channel).empty() && isGain(channel.level) && channel.delay >= 0 &&
           channel.delay <= kLongestDelay && std::all_of(channel.gains.begin(), channel.gains.end(), isGain);
}

/** What is written of a calibration is read as the same. */
void writeAndRead(const Calibration& calibration) {
    const Reading again = readCalibrationFile(writeCalibrationFile(calibration));
    require(again.faults.empty() && again.calibration.size() == calibration.size());
    for (size_t i = 0; i < calibration.size(); ++i) {
        require(again.calibration[i].channel == calibration[i].channel);
        require(!differs(again.calibration[i].level, calibration[i].level));
    }
}

void show(const Calibration& calibration) {
    (void)roundingTable(calibration);
    (void)summarize(calibration);
    (void)drawCalibration(calibration);
    for (const ChannelCalibration& channel : calibration) {
        (void)plotGains(channel.gains, {80, true});
        (void)useOf(channel.channel);
        require(isTaken(appliedValues(channel)));
    }
}

/** What passes; nothing where there is a fault. */
Calibration import(std::string_view text, const TextOptions& options, BeyondLimit beyond) {
    const Reading reading = importCalibration(text, options, beyond);
    require(std::all_of(reading.faults.begin(), reading.faults.end(), isPrintable));
    require(std::all_of(reading.notes.begin(), reading.notes.end(), isPrintable));
    if (!reading.faults.empty()) return {};
    require(reading.calibration.size() <= kMostChannels);
    require(std::all_of(reading.calibration.begin(), reading.calibration.end(), isTaken));
    return reading.calibration;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

/**
 * Calibration files and equalizers of room-correction programs. Nothing that the service
 * refuses passes, and no message upsets a terminal. Input: the text.
 */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const Calibration calibration = import(text, {}, BeyondLimit::Clamp);
    writeAndRead(calibration);
    show(calibration);
    (void)import(text, {}, BeyondLimit::Refuse);
    (void)import(text, {{"FL", "C"}, -1.5, 2.0}, BeyondLimit::Clamp);
    return 0;
}
