// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "client/calibration/applied_values.h"
#include "client/calibration/calibration_file.h"
#include "client/calibration/calibration_limits.h"
#include "client/calibration/display/calibration_plot.h"
#include "client/calibration/display/calibration_svg.h"
#include "client/calibration/display/calibration_table.h"
#include "input.h"

namespace {

using namespace hidlaudio::client;  // NOLINT: names of the tested code
using hidlaudio::fuzz::Input;
using hidlaudio::fuzz::require;

// Maximum number of channels. More would only take longer.
constexpr size_t kMaxTried = 3;

/** Returns a channel name that is not yet used: from the input, or a default if that is not valid. */
std::string takeName(Input& input, const Calibration& before) {
    const size_t size = std::min<size_t>(input.take<uint8_t>() % 4U, input.left());
    const std::string name(reinterpret_cast<const char*>(input.take(size)), size);
    const bool isUsed = std::any_of(before.begin(), before.end(),
                                    [&name](const auto& channel) { return channel.channel == name; });
    return checkChannelName(name).empty() && !isUsed ? name : "CH_" + std::to_string(before.size());
}

/** Reads a number from -limit to limit. */
double takeNumber(Input& input, double limit) {
    const auto number = input.take<double>();
    if (!std::isfinite(number)) return limit;
    return std::fabs(number) <= limit ? number : std::fmod(number, limit);
}

Calibration takeCalibration(Input& input) {
    Calibration calibration;
    const size_t count = input.take<uint8_t>() % (kMaxTried + 1);
    while (calibration.size() < count) {
        ChannelCalibration channel;
        channel.channel = takeName(input, calibration);
        channel.level = takeNumber(input, kLargestGain);
        channel.delay = std::fabs(takeNumber(input, kLongestDelay));
        for (double& gain : channel.gains) gain = takeNumber(input, kLargestGain);
        calibration.push_back(channel);
    }
    return calibration;
}

/** Requires that a written calibration is read back unchanged. */
void writeAndRead(const Calibration& calibration) {
    const Reading again = readCalibrationFile(writeCalibrationFile(calibration));
    require(again.faults.empty() && again.calibration.size() == calibration.size());
    for (size_t i = 0; i < calibration.size(); ++i) {
        const ChannelCalibration& channel = again.calibration[i];
        require(channel.channel == calibration[i].channel);
        require(!differs(channel.level, calibration[i].level));
        require(!differs(channel.delay, calibration[i].delay));
        for (size_t band = 0; band < kBands; ++band)
            require(!differs(channel.gains[band], calibration[i].gains[band]));
    }
}

void apply(const ChannelCalibration& channel) {
    (void)useOf(channel.channel);
    const ChannelCalibration applied = appliedValues(channel);
    require(std::fabs(applied.level) <= kLargestGain);
    require(applied.delay >= 0 && applied.delay <= kLongestDelay);
    for (const double gain : applied.gains) require(std::fabs(gain) <= kLargestGain);
}

}  // namespace

/**
 * Writes and draws a calibration as `audioctl` does. Input: number of channels; for each channel the
 * length and text of its name, level, delay and gains.
 */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const Calibration calibration = takeCalibration(input);
    writeAndRead(calibration);
    (void)roundingTable(calibration);
    (void)summarize(calibration);
    (void)drawCalibration(calibration);
    for (const ChannelCalibration& channel : calibration) {
        (void)plotGains(channel.gains, {80, true});
        apply(channel);
    }
    return 0;
}
