// SPDX-License-Identifier: Apache-2.0
#include "auto_offset.h"

#include "log_tag.h"
#include "platform/hal_parameters.h"
#include "platform/log.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

using ::android::sp;
using ::android::hardware::audio::V5_0::IPrimaryDevice;
using platform::logDebug;

namespace {

constexpr float kOffsetWithoutBackEnd = 12.0F;  // in dB

}  // namespace

float getAutoCalibOffset(const CalibrationRecords& records) {
    const aud_ac_data_Table* const record = findFrontLeft(records);
    const float level = record != nullptr ? record->level : 0.0F;
    logDebug(kLogTag, "[%s] offsetLevel:%4.1fdB", __func__, static_cast<double>(level));
    return level;
}

void publishAutoCalibOffset(const char* function, const sp<IPrimaryDevice>& device, bool backEndModel,
                            float offset) {
    if (!backEndModel) offset += kOffsetWithoutBackEnd;
    logDebug(kLogTag, "[%s] auto_calib_offset=%4.1fdB", function, static_cast<double>(offset));
    if (device != nullptr) platform::setHalParameter(device, "ac_offset", std::to_string(offset));
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
