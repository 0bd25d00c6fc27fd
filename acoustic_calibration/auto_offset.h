// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IPrimaryDevice.h>

#include "acoustic_calibration/calibration_data.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/** The offset of the level that a calibration brings, of which the audio HAL is told. Main thread. */

/** The level in dB of the first front-left channel; 0 where there is none. */
float getAutoCalibOffset(const CalibrationRecords& records);

/**
 * Tells the HAL the offset in dB, logged in the name of `function`: 12 dB more on a TV
 * without a back-end controller. Whether the HAL takes it is its own affair; a null
 * `device` is not told.
 */
void publishAutoCalibOffset(const char* function,
                            const ::android::sp<::android::hardware::audio::V5_0::IPrimaryDevice>& device,
                            bool backEndModel, float offset);

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
