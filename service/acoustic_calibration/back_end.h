// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/** Size of the controller's calibration block in bytes. */
constexpr size_t kCalibrationBlockSize = 36;

/** Waits up to 20 s for the TV platform service, without a lock. Returns 0, or -1 after a time-out. */
int32_t checkDtvSvcBoot();

/** Returns whether the TV has a back-end audio controller; true if the EEPROM cannot be read. */
bool isBeModel();

/** Waits up to 15 s for the controller, without a lock. Returns a platform::BootWait. */
int32_t checkBeCtrlBoot();

/**
 * Waits up to 20 s until setCalibratedDataToBeCtrl can be called. A separate function, so that the caller
 * need not hold its lock during the wait. Returns 0, or -1 after a time-out.
 */
int32_t awaitSetCalibratedDataToBeCtrl();

/**
 * Sends a calibration block to the controller, even if the middleware cannot be opened.
 *
 * @param block kCalibrationBlockSize bytes
 * @return the middleware's status, 0 for success
 */
int32_t setCalibratedDataToBeCtrl(const void* block);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
