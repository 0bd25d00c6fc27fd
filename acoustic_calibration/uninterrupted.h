// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/** Makes a system call until no signal interrupts it: a signal must not cost the user's calibration. */
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
