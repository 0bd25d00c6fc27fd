// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdio.h>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * What a thread waits on while the controller works on its upload: the proc file, which
 * becomes readable at each change of the state, and a timer of 20 s. Closed with the
 * object.
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

/** Opens the watch and starts its timer. Returns null, or what failed, in words for the log. */
const char* openTransferWatch(const char* stateFile, TransferWatch& watch);

enum class WatchEvent { StateChanged, Timeout, None };

/** Blocks until something happens; None for anything else than the two, such as a signal. */
WatchEvent awaitEvent(const TransferWatch& watch);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
