// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/** What a wait answers where nothing came of it. */
constexpr int32_t kWaitTimeout = -1;

/**
 * Asks `look` every 500 ms, 40 times at most, until it answers something other than
 * kWaitTimeout. Any thread.
 */
template <typename Look>
int32_t pollTransfer(Look look) {
    for (int i = 0; i < 40; ++i) {
        if (const int32_t answer = look(); answer != kWaitTimeout) return answer;
        usleep(500000);
    }
    return kWaitTimeout;
}

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
