// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include "calibration_data.h"
#include "calibration_lock.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * The calibration of a TV with a back-end controller, which receives it as one block. While the smooth
 * delay is on, its delays replace those of the calibration, whether the calibration is on or off. Call
 * awaitSetCalibratedDataToBeCtrl first.
 *
 * Both functions return the middleware's status, 0 for success. A failure is logged.
 */

/** Applies the equalizer and level of the front-left channel, and the delays of both front channels. */
int32_t enableCalibrationBeCtrl(const CalibrationRecords& records) REQUIRES(calibrationLock);

/** Applies a flat sound without delays. */
int32_t disableCalibrationBeCtrl() REQUIRES(calibrationLock);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
