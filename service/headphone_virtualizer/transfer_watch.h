// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stdio.h>

#include <memory>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * The descriptors on which a thread waits while the controller works on its upload: the proc file, which
 * becomes readable at each change of the state, and a timer of 20 s.
 */
struct TransferWatch {
    ::android::base::unique_fd epoll;
    std::unique_ptr<FILE, int (*)(FILE*)> stateFile{nullptr, fclose};
    ::android::base::unique_fd timer;
};

/** Opens the descriptors and starts the timer. Returns `nullptr`, or an error message for the log. */
const char* openTransferWatch(const char* stateFile, TransferWatch& watch);

enum class WatchEvent { StateChanged, Timeout, None };

/** Blocks until an event occurs. Returns None for other wake-ups, for example by a signal. */
WatchEvent awaitEvent(const TransferWatch& watch);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
