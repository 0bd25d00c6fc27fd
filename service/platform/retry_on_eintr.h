// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Repeats a system call until no signal interrupts it, so that a signal cannot make the storing of a
 * setting fail. `call` returns the result of the system call, -1 with errno on failure. Any thread.
 */
template <typename Call>
auto retryOnEintr(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
