// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "upload.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/** Results of a wait other than 0, which means that the upload has ended. */
enum WaitResult : int32_t { kWaitTimeout = -1, kWaitCancelled = 1 };

/**
 * Waits until an upload of another thread has ended. Checks this every 500 ms, at most 40 times, and releases
 * the lock while it sleeps.
 *
 * @param waiting the caller's own upload, which may be cancelled during the wait; `nullptr` if there is none
 * @return 0, kWaitCancelled if `waiting` is cancelled, or kWaitTimeout after 20 s
 */
int32_t waitForEnd(const Upload& awaited, const Upload* waiting = nullptr) REQUIRES(virtualizerLock);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
