// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Makes a system call until no signal interrupts it: a signal must not cost the user a setting.
 * `call` gives the call's result, -1 with errno for a failure. Any thread.
 */
template <typename Call>
auto retryOnEintr(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
