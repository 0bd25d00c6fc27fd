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
 * Waits until the driver can be given a calibration: for the TV platform service, 20 s at most,
 * and for the audio post-processor, 10 s at most. Any thread, without a lock.
 *
 * @return 0, or -1 if the platform service is not ready
 */
int32_t awaitAudioDriver();

/**
 * Applies the calibration results; a flat sound if they have no front-left channel.
 *
 * @return 0 or the driver's status: the equalizer is as before if the driver refuses it, and
 *     flat if it refuses the volume offset
 */
int32_t enableCalibrationAudioDriver(const CalibrationRecords& records) REQUIRES(calibrationLock);

/** Applies a flat sound; the same results. */
int32_t disableCalibrationAudioDriver() REQUIRES(calibrationLock);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
