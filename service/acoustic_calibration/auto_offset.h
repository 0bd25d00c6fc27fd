// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IPrimaryDevice.h>

#include "calibration_data.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/** The level offset of a calibration, which is reported to the audio HAL. Any thread. */

/** Returns the level in dB of the first front-left channel, or 0 if there is none. */
float getAutoCalibOffset(const CalibrationRecords& records);

/**
 * Reports the offset in dB to the HAL, plus 12 dB on a TV without a back-end controller. `function` is the
 * function name printed in the log. The HAL's result is ignored; if `device` is null, the offset is only
 * logged. Blocks until the HAL returns: the caller must not hold a lock.
 */
void publishAutoCalibOffset(const char* function,
                            const ::android::sp<::android::hardware::audio::V5_0::IPrimaryDevice>& device,
                            bool backEndModel, float offset);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
