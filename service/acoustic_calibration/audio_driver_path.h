// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include "calibration_data.h"
#include "calibration_lock.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * The calibration of a TV without a back-end controller: the audio decoder's driver takes an
 * equalizer and a volume offset, those of the front-left channel. Failures are logged.
 */

/**
 * Waits until the driver accepts a calibration: up to 20 s for the TV platform service, then up to 10 s
 * for the audio post-processor. Any thread that holds no lock.
 *
 * @return 0, also if the post-processor is not ready; -1 if the platform service is not ready
 */
int32_t awaitAudioDriver();

/**
 * Applies the calibration results, or a flat sound if they have no front-left channel.
 *
 * @return 0, or the driver's status. If the driver refuses the equalizer, nothing changes; if it
 *     refuses the volume offset, the equalizer is flat.
 */
int32_t enableCalibrationAudioDriver(const CalibrationRecords& records) REQUIRES(calibrationLock);

/** Applies a flat sound. Returns as enableCalibrationAudioDriver() does. */
int32_t disableCalibrationAudioDriver() REQUIRES(calibrationLock);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
