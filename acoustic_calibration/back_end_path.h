// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include "acoustic_calibration/calibration_data.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/**
 * The calibration of a TV with a back-end controller, which takes it as one block. The
 * smooth delay, while it is on, takes the place of the delays, whether the calibration
 * is on or off.
 *
 * Each call waits for the TV platform service, 20 s at most, and logs what goes wrong.
 * Main thread.
 *
 * @return 0; -1 where the platform service is not ready; or the middleware's status
 */

/** Applies the equalizer and level of the front-left channel, and the delays of both front channels. */
int32_t enableCalibrationBeCtrl(const CalibrationRecords& records);

/** Applies a flat sound without delays. */
int32_t disableCalibrationBeCtrl();

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
