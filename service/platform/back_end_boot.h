// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "middleware_session.h"

namespace com::tovi::dtv::hardware::audio::platform {

enum BootWait : int32_t { kBooted = 0, kBootStateUnknown = 1, kBootTimeout = 2 };

/** How a caller waits for the back-end audio controller. */
struct BackEndBootWait {
    const char* tag;
    const char* function;  // function name printed in the log messages
    MiddlewareOpening opening;
};

/**
 * Waits until the back-end audio controller has booted: reads its boot state 30 times, 500 ms
 * apart, so that it blocks for 15 s at most. Failures are logged. Any thread that holds no lock.
 *
 * @return kBooted, kBootStateUnknown if the middleware fails, or kBootTimeout
 */
int32_t waitForBackEndBoot(const BackEndBootWait& wait);

}  // namespace com::tovi::dtv::hardware::audio::platform
