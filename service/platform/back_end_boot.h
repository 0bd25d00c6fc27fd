// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * The wait for the back-end audio controller to boot, for its two users: 30 looks at
 * its boot state, 500 ms apart, so that it blocks for some 15 s at most. What goes
 * wrong is logged. Any thread, without a lock.
 */

enum BootWait : int32_t { kBooted = 0, kBootStateUnknown = 1, kBootTimeout = 2 };

/** The acoustic calibration's wait: kBooted, kBootStateUnknown where the middleware fails, or kBootTimeout.
 */
int32_t checkBeCtrlBoot();

/** The headphone virtualizer's wait, with the same results. */
int32_t checkBeCtrlBootForHV();

}  // namespace com::tovi::dtv::hardware::audio::platform
