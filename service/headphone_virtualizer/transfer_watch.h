// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdio.h>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * The descriptors on which a thread waits while the controller works on its upload: the proc file, which
 * becomes readable at each change of the state, and a timer of 20 s. The destructor closes them.
 */
struct TransferWatch {
    TransferWatch() = default;
    ~TransferWatch();
    TransferWatch(const TransferWatch&) = delete;
    TransferWatch& operator=(const TransferWatch&) = delete;

    int epoll = -1;
    FILE* stateFile = nullptr;
    int timer = -1;
};

/** Opens the descriptors and starts the timer. Returns `nullptr`, or an error message for the log. */
const char* openTransferWatch(const char* stateFile, TransferWatch& watch);

enum class WatchEvent { StateChanged, Timeout, None };

/** Blocks until an event occurs. Returns None for other wake-ups, for example by a signal. */
WatchEvent awaitEvent(const TransferWatch& watch);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
