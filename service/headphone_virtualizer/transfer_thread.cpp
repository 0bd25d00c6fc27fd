// SPDX-License-Identifier: Apache-2.0
#include "transfer_thread.h"

#include <hardware_legacy/power.h>
#include <pthread.h>

#include "log_tag.h"
#include "platform/log.h"
#include "transfer_wait.h"
#include "transfer_watch.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {
namespace {

using platform::logDebug;
using platform::logError;
using platform::logInfo;

constexpr char kThread[] = "paramTransferThread";

/** Results for the callback that do not come from the controller. */
enum Outcome : int32_t { kCancelled = 1, kNotHandedOver = -2, kTimeout = -2, kNotPrepared = -3 };

/** Kind of the calling transfer thread; null on every other thread. */
thread_local const ParameterKind* kindOfThisThread = nullptr;

bool holdWakeLock(const char* name) {
    logDebug(kLogTag, "[%s] Acquire Wakelock %s", kThread, name);
    if (const int result = acquire_wake_lock(PARTIAL_WAKE_LOCK, name); result < 0) {
        logError(kLogTag, "[%s] Acquire Wakelock failed(errno:%d).", kThread, result);
        return false;
    }
    logInfo(kLogTag, "[%s] Acquire Wakelock completed.", kThread);
    return true;
}

void releaseWakeLock(const char* name) {
    logDebug(kLogTag, "Release Wakelock %s", name);
    const int result = release_wake_lock(name);
    if (result < 0) {
        logError(kLogTag, "Release Wakelock failed(errno:%d).", result);
    } else {
        logInfo(kLogTag, "Release Wakelock completed.");
    }
}

/** Waits for the end of the transfer. Returns the controller's result, or kTimeout. */
int32_t awaitOutcome(const TransferWatch& watch, Upload& upload) {
    BeCtrlTransferState state{};
    for (;;) {
        const WatchEvent event = awaitEvent(watch);
        if (event == WatchEvent::Timeout) {
            logError(kLogTag, "[%s] epoll timeout!!", kThread);
            return kTimeout;
        }
        if (event != WatchEvent::StateChanged) continue;
        logDebug(kLogTag, "[%s] update proc file!!", kThread);
        const bool known = readBeCtrlTransferState(upload.kind.stateFile, state) == 0;
        logDebug(kLogTag, "[%s] read proc file(state)=0x%x", kThread, static_cast<uint8_t>(state.state));
        logDebug(kLogTag, "[%s] read proc file(result)=0x%x", kThread, state.result);
        if (state.state == kBeCtrlInProgress) continue;
        if (known) upload.hold = DriverHold::Done;
        return summarizeTransferResult(state.result);
    }
}

int32_t transfer(Upload& upload) {
    TransferWatch watch;
    if (const char* failure = openTransferWatch(upload.kind.stateFile, watch); failure != nullptr) {
        logError(kLogTag, "[%s] %s", kThread, failure);
        return kNotPrepared;
    }
    const int32_t status = setParametersToBeCtrl(upload.kind.setIoctl, upload.data.get(), upload.size);
    if (status != 0) return kNotHandedOver;
    upload.hold = DriverHold::Reading;
    return awaitOutcome(watch, upload);
}

/**
 * Waits for the upload's predecessor. Returns 0 or a WaitResult. A queued upload may have been cancelled
 * before its thread starts it.
 */
int32_t awaitTurn(const Upload& upload, bool wasQueued) {
    const std::lock_guard lock(virtualizerLock);
    if (wasQueued && upload.cancelFlag) return kWaitCancelled;
    return upload.predecessor ? waitOtherParamTransferThreadFinish(*upload.predecessor, upload) : 0;
}

void setTransferring(Upload& upload) {
    const std::lock_guard lock(virtualizerLock);
    upload.transferState = TransferState::Transferring;
}

int32_t run(Upload& upload, bool wasQueued) {
    if (!holdWakeLock(upload.kind.wakeLock)) return kNotPrepared;
    const int32_t waited = awaitTurn(upload, wasQueued);
    if (waited == kWaitTimeout) {
        logError(kLogTag, "[%s] Waiting thread finish is Timeout!", kThread);
        return kTimeout;
    }
    if (waited == kWaitCancelled) {
        logDebug(kLogTag, "[%s] Waiting thread finish is canceled", kThread);
        return kCancelled;
    }
    setTransferring(upload);
    return transfer(upload);
}

void notifyClient(const sp<IHeadphoneVirtualizerCallback>& callback, int32_t result) {
    const auto delivered = callback->onApplyResult(result);
    if (!delivered.isOk()) logError(kLogTag, "[%s] the client cannot be told: %d", kThread, result);
}

/**
 * Marks the upload as ended for all other threads and frees its slot. Returns the upload that the thread runs
 * next, or `nullptr`.
 */
std::shared_ptr<Upload> passOn(aud_hv_parameter& slot, const std::shared_ptr<Upload>& upload) {
    const std::lock_guard lock(virtualizerLock);
    upload->transferState = TransferState::Idle;
    // The driver holds at most one transfer of a kind: a newer one has replaced the lingering one.
    if (upload->hold != DriverHold::None) slot.lingering.reset();
    if (upload->hold == DriverHold::Reading) slot.lingering = upload;
    if (slot.upload == upload) initializeParameter(&slot);
    slot.running.reset();
    if (!slot.queue.empty()) {
        slot.running = slot.queue.front();
        slot.queue.pop_front();
    }
    return slot.running;
}

std::shared_ptr<Upload> finish(aud_hv_parameter& slot, const std::shared_ptr<Upload>& upload) {
    upload->predecessor.reset();
    if (upload->hold != DriverHold::Reading) upload->data.reset();
    upload->callback.clear();
    // Release it before the slot is free: the next upload of this kind uses the same wake lock.
    releaseWakeLock(upload->kind.wakeLock);
    auto next = passOn(slot, upload);
    logDebug(kLogTag, "paramTransferThread finished");
    return next;
}

std::shared_ptr<Upload> firstUpload(const aud_hv_parameter& slot) {
    const std::lock_guard lock(virtualizerLock);
    return slot.running;
}

void* paramTransferThread(void* argument) {
    aud_hv_parameter& slot = *static_cast<aud_hv_parameter*>(argument);
    kindOfThisThread = &slot.kind;
    bool wasQueued = false;
    for (std::shared_ptr<Upload> upload = firstUpload(slot); upload != nullptr;) {
        logDebug(kLogTag, "[%s] start", kThread);
        notifyClient(upload->callback, run(*upload, wasQueued));
        upload = finish(slot, upload);
        wasQueued = true;
    }
    return nullptr;
}

}  // namespace

bool startParamTransferThread(aud_hv_parameter& slot, const std::shared_ptr<Upload>& upload) {
    slot.running = upload;
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, paramTransferThread, &slot) != 0) {
        slot.running.reset();
        return false;
    }
    pthread_detach(thread);
    return true;
}

bool isTransferThreadOf(const ParameterKind& kind) {
    return kindOfThisThread == &kind;
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
