// SPDX-License-Identifier: Apache-2.0
#include "transfer_wait.h"

#include <unistd.h>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {
namespace {

/** Waits for the end of `awaited`. Cancelling `waiting` ends the wait early; null if that is not possible. */
REQUIRES(virtualizerLock) int32_t waitForEnd(const Upload& awaited, const Upload* waiting) {
    for (int i = 0; i < 40; ++i) {
        if (awaited.transferState == TransferState::Idle) return 0;
        if (waiting != nullptr && waiting->cancelFlag) return kWaitCancelled;
        virtualizerLock.unlock();
        usleep(500000);
        virtualizerLock.lock();
    }
    return kWaitTimeout;
}

}  // namespace

int32_t waitOtherParamTransferThreadFinish(const Upload& other, const Upload& waiting) {
    return waitForEnd(other, &waiting);
}

int32_t waitSelfParamTransferThreadFinish(const Upload& upload) {
    return waitForEnd(upload, nullptr);
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
