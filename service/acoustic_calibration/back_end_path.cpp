// SPDX-License-Identifier: Apache-2.0
#include "back_end_path.h"

#include <algorithm>
#include <iterator>

#include "back_end.h"
#include "rounding.h"
#include "smooth_delay.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {
namespace {

/** The controller's calibration block. Little-endian, as is the TV's processor. */
struct CalibrationBlock {
    uint8_t gains[kBands];   // 128 + tenths of a dB
    uint8_t level;           // as gains
    int16_t frontLeftDelay;  // in samples at 48 kHz
    int16_t frontRightDelay;
};
static_assert(sizeof(CalibrationBlock) == kCalibrationBlockSize, "the controller's layout");
static_assert(offsetof(CalibrationBlock, frontLeftDelay) == 32, "the controller's layout");

/** Returns 128 + tenths of a dB. Accepted values always fit one byte. */
uint8_t toByte(float decibels) {
    return static_cast<uint8_t>(128U + static_cast<uint32_t>(toTenths(decibels)));
}

/**
 * Returns the low 16 bits of a delay in samples. Only a smooth delay, which is not checked, can exceed them.
 */
int16_t toDelay(float milliseconds) {
    return static_cast<int16_t>(toSamples(milliseconds));
}

CalibrationBlock makeDefaultDataForBeCtrl() {
    CalibrationBlock block{};
    std::fill(std::begin(block.gains), std::end(block.gains), toByte(0.0F));
    block.level = toByte(0.0F);
    return block;
}

/** Adds a channel. If several channels share a name, the last one wins. */
void addChannel(const aud_ac_data_Table& record, CalibrationBlock& block) {
    const std::string name = channelName(record);
    if (name == kFrontLeft) {
        std::transform(std::begin(record.geqGain), std::end(record.geqGain), block.gains, toByte);
        block.level = toByte(record.level);
        block.frontLeftDelay = toDelay(record.delay);
    } else if (name == kFrontRight) {
        block.frontRightDelay = toDelay(record.delay);
    }
}

CalibrationBlock makeCalibratedDataForBeCtrl(const CalibrationRecords& records) {
    // If the results have no front-left channel, the sound is flat, as on a TV without a controller. A
    // block of zeros would lower every band by 12.8 dB.
    CalibrationBlock block = makeDefaultDataForBeCtrl();
    std::for_each_n(records.begin(), usedChannels(records),
                    [&block](const aud_ac_data_Table& record) { addChannel(record, block); });
    return block;
}

REQUIRES(calibrationLock) void updateDelayData(CalibrationBlock& block) {
    if (!isSmoothDelayInUse()) return;
    block.frontLeftDelay = toDelay(smoothDelay().values[0]);
    block.frontRightDelay = toDelay(smoothDelay().values[1]);
}

REQUIRES(calibrationLock) int32_t send(CalibrationBlock block) {
    updateDelayData(block);
    return setCalibratedDataToBeCtrl(&block);
}

}  // namespace

int32_t enableCalibrationBeCtrl(const CalibrationRecords& records) {
    return send(makeCalibratedDataForBeCtrl(records));
}

int32_t disableCalibrationBeCtrl() {
    return send(makeDefaultDataForBeCtrl());
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
