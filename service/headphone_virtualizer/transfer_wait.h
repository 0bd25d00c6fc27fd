// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "upload.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/** Results of a wait other than 0, which means that the upload has ended. */
enum WaitResult : int32_t { kWaitTimeout = -1, kWaitCancelled = 1 };

/**
 * Waits until the other kind's upload has ended. Checks this every 500 ms, at most 40 times, and releases
 * the lock while it sleeps. `waiting` is the caller's own upload.
 *
 * @return 0, kWaitCancelled if `waiting` is cancelled, or kWaitTimeout after 20 s
 */
int32_t waitOtherParamTransferThreadFinish(const Upload& other, const Upload& waiting)
    REQUIRES(virtualizerLock);

/** Waits in the same way until an upload of another thread has ended. Returns 0 or kWaitTimeout. */
int32_t waitSelfParamTransferThreadFinish(const Upload& upload) REQUIRES(virtualizerLock);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
