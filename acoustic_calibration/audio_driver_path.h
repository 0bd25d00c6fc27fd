// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include "acoustic_calibration/calibration_data.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/**
 * The calibration of a TV without a back-end controller: the audio decoder's driver
 * takes an equalizer and a volume offset, the front-left channel's.
 *
 * Each call waits for the TV platform service, 20 s at most, and for the audio
 * post-processor, 10 s at most, and logs what goes wrong. Main thread.
 *
 * @return 0; -1 where the platform service is not ready and nothing was sent; or the
 *     driver's status: the equalizer is as before where that was refused, and flat where
 *     the offset was
 */

/** Applies the calibration results; without a front-left channel a flat sound. */
int32_t enableCalibrationAudioDriver(const CalibrationRecords& records);

/** Applies a flat sound. */
int32_t disableCalibrationAudioDriver();

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
