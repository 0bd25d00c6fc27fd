// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * The commands to the back-end audio controller. A command has two steps, so that a caller
 * need not hold its lock over the first one, which waits up to 20 s for the TV platform
 * service. Failures are logged. Any thread.
 */

/** Size of the controller's calibration block in bytes. */
constexpr size_t kCalibrationBlockSize = 36;

/** Waits until setEnabledToBeCtrl can be called. Returns 0, or -5 after a time-out. */
int32_t awaitSetEnabledToBeCtrl();

/**
 * Switches the headphone virtualizer (`type` BECTRL_SPEC_HV_ENABLE) or its up-mix
 * (BECTRL_SPEC_HV_UPMIX).
 *
 * @return 0, or the status of the middleware that cannot be opened or refuses the command
 */
int32_t setEnabledToBeCtrl(uint8_t type, bool enable);

/** Waits until setCalibratedDataToBeCtrl can be called. Returns 0, or -1 after a time-out. */
int32_t awaitSetCalibratedDataToBeCtrl();

/**
 * Gives the controller its calibration. The command is tried even if the middleware cannot be
 * opened.
 *
 * @param block kCalibrationBlockSize bytes
 * @return the middleware's status, 0 for success
 */
int32_t setCalibratedDataToBeCtrl(const void* block);

}  // namespace com::tovi::dtv::hardware::audio::platform
