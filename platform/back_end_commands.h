// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * The commands to the back-end audio controller. Each waits first for the TV platform
 * service, up to 20 s where that is not ready, and logs what goes wrong. Main thread.
 */

/** The size of what the controller takes as its calibration, in bytes. */
constexpr size_t kCalibrationBlockSize = 36;

/**
 * Switches the headphone virtualizer (`type` BECTRL_SPEC_HV_ENABLE) or its up-mix
 * (BECTRL_SPEC_HV_UPMIX).
 *
 * @return 0; -5 where the TV platform service is not ready; or the status of the
 *     middleware that could not be opened or refused the command
 */
int32_t setEnabledToBeCtrl(uint8_t type, bool enable);

/**
 * Gives the controller its calibration. The command is tried even where the middleware
 * could not be opened.
 *
 * @param block kCalibrationBlockSize bytes
 * @return 0; -1 where the TV platform service is not ready; or the middleware's status
 */
int32_t setCalibratedDataToBeCtrl(const void* block);

}  // namespace com::tovi::dtv::hardware::audio::platform
