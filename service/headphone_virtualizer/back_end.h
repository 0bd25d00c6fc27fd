// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/** Waits up to 20 s for the TV platform service, without a lock. Returns 0, or -5 after a time-out. */
int32_t checkDtvSvcBootForHV();

/** Returns whether the TV has a back-end audio controller; false if the EEPROM cannot be read. */
bool isBeModelForHV();

/** Waits up to 15 s for the controller, without a lock. Returns a platform::BootWait. */
int32_t checkBeCtrlBootForHV();

/**
 * Waits up to 20 s until setEnabledToBeCtrl can be called. A separate function, so that the caller need not
 * hold its lock during the wait. Returns 0, or -5 after a time-out.
 */
int32_t awaitSetEnabledToBeCtrl();

/**
 * Switches the headphone virtualizer (`type` BECTRL_SPEC_HV_ENABLE) or its up-mix
 * (BECTRL_SPEC_HV_UPMIX).
 *
 * @return 0, or the status of the middleware if it cannot be opened or refuses the command
 */
int32_t setEnabledToBeCtrl(uint8_t type, bool enable);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
