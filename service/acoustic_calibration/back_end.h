// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/** Size of the controller's calibration block in bytes. */
constexpr size_t kCalibrationBlockSize = 36;

/** Waits up to 20 s for the TV platform service. Returns 0, or -1 after a time-out. Without a lock. */
int32_t checkDtvSvcBoot();

/** Whether the TV has a back-end audio controller. True if its EEPROM cannot be read. */
bool isBeModel();

/** Waits up to 15 s for the controller. Returns a platform::BootWait. Without a lock. */
int32_t checkBeCtrlBoot();

/**
 * Waits up to 20 s until setCalibratedDataToBeCtrl can be called. A step of its own, so that the
 * caller need not hold its lock meanwhile. Returns 0, or -1 after a time-out.
 */
int32_t awaitSetCalibratedDataToBeCtrl();

/**
 * Gives the controller its calibration. The command is sent even if the middleware cannot be
 * opened.
 *
 * @param block kCalibrationBlockSize bytes
 * @return the middleware's status, 0 for success
 */
int32_t setCalibratedDataToBeCtrl(const void* block);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
