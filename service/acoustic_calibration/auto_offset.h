// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IPrimaryDevice.h>

#include "calibration_data.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/** Level offset of a calibration, as reported to the audio HAL. Any thread. */

/** Returns the level in dB of the first front-left channel, or 0 if there is none. */
float getAutoCalibOffset(const CalibrationRecords& records);

/**
 * Reports the offset in dB to the HAL, with 12 dB added on a TV without a back-end controller.
 * `function` is the function name printed in the log. The HAL's result is ignored; a null
 * `device` is skipped. Waits for the HAL: not to be called with a lock.
 */
void publishAutoCalibOffset(const char* function,
                            const ::android::sp<::android::hardware::audio::V5_0::IPrimaryDevice>& device,
                            bool backEndModel, float offset);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
