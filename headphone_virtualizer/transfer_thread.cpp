// SPDX-License-Identifier: Apache-2.0
#include "headphone_virtualizer/transfer_thread.h"

#include <hardware_legacy/power.h>
#include <pthread.h>

#include "headphone_virtualizer/log_tag.h"
#include "headphone_virtualizer/transfer_poll.h"
#include "headphone_virtualizer/transfer_watch.h"
#include "platform/log.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {
namespace {

using platform::logDebug;
using platform::logError;
using platform::logInfo;

constexpr char kThread[] = "paramTransferThread";

/** What the callback is told, besides the controller's own results. */
enum Outcome : int32_t { kCancelled = 1, kNotHandedOver = -2, kTimeout = -2, kNotPrepared = -3 };

/** 0 when the upload before this one has ended, kCancelled, or kWaitTimeout. */
int32_t waitOtherParamTransferThreadFinish(const Upload& other, const std::atomic<bool>& cancelFlag) {
    return pollTransfer([&]() -> int32_t {
        if (other.transferState == TransferState::Idle) return 0;
        return cancelFlag ? kCancelled : kWaitTimeout;
    });
}

bool holdWakeLock(const char* name) {
    logDebug(kTag, "[%s] Acquire Wakelock %s", kThread, name);
    if (const int result = acquire_wake_lock(PARTIAL_WAKE_LOCK, name); result < 0) {
        logError(kTag, "[%s] Acquire Wakelock failed(errno:%d).", kThread, result);
        return false;
    }
    logInfo(kTag, "[%s] Acquire Wakelock completed.", kThread);
    return true;
}

void releaseWakeLock(const char* name) {
    logDebug(kTag, "Release Wakelock %s", name);
    const int result = release_wake_lock(name);
    if (result < 0) {
        logError(kTag, "Release Wakelock failed(errno:%d).", result);
    } else {
        logInfo(kTag, "Release Wakelock completed.");
    }
}

/** What the controller made of it. A read that fails leaves the state at what it was. */
int32_t awaitOutcome(const TransferWatch& watch, Upload& upload) {
    platform::BeCtrlTransferState state{};
    for (;;) {
        const WatchEvent event = awaitEvent(watch);
        if (event == WatchEvent::Timeout) {
            logError(kTag, "[%s] epoll timeout!!", kThread);
            return kTimeout;
        }
        if (event != WatchEvent::StateChanged) continue;
        logDebug(kTag, "[%s] update proc file!!", kThread);
        const bool known = platform::readBeCtrlTransferState(upload.kind.stateFile, state) == 0;
        logDebug(kTag, "[%s] read proc file(state)=0x%x", kThread, static_cast<uint8_t>(state.state));
        logDebug(kTag, "[%s] read proc file(result)=0x%x", kThread, state.result);
        if (state.state == platform::kBeCtrlInProgress) continue;
        if (known) upload.hold = DriverHold::Done;
        return platform::summarizeTransferResult(state.result);
    }
}

int32_t transfer(Upload& upload) {
    TransferWatch watch;
    if (const char* failure = openTransferWatch(upload.kind.stateFile, watch); failure != nullptr) {
        logError(kTag, "[%s] %s", kThread, failure);
        return kNotPrepared;
    }
    const int32_t status =
        platform::setParametersToBeCtrl(upload.kind.setIoctl, upload.data.get(), upload.size);
    if (status != 0) return kNotHandedOver;
    upload.hold = DriverHold::Reading;
    return awaitOutcome(watch, upload);
}

int32_t run(Upload& upload) {
    if (!holdWakeLock(upload.kind.wakeLock)) return kNotPrepared;
    if (upload.predecessor) {
        const int32_t waited = waitOtherParamTransferThreadFinish(*upload.predecessor, upload.cancelFlag);
        upload.predecessor.reset();
        if (waited == kWaitTimeout) {
            logError(kTag, "[%s] Waiting thread finish is Timeout!", kThread);
            return kTimeout;
        }
        if (waited == kCancelled) {
            logDebug(kTag, "[%s] Waiting thread finish is canceled", kThread);
            return kCancelled;
        }
    }
    upload.transferState = TransferState::Transferring;
    return transfer(upload);
}

void tell(const sp<IHeadphoneVirtualizerCallback>& callback, int32_t result) {
    const auto told = callback->onApplyResult(result);
    if (!told.isOk()) logError(kTag, "[%s] the client cannot be told: %d", kThread, result);
}

void finish(Upload& upload) {
    upload.predecessor.reset();
    if (upload.hold != DriverHold::Reading) upload.data.reset();
    upload.callback.clear();
    releaseWakeLock(upload.kind.wakeLock);
    // Last: who sees it may start the next upload, which takes the same wake lock.
    upload.transferState = TransferState::Idle;
    logDebug(kTag, "paramTransferThread finished");
}

void* paramTransferThread(void* argument) {
    const std::unique_ptr<std::shared_ptr<Upload>> upload(static_cast<std::shared_ptr<Upload>*>(argument));
    logDebug(kTag, "[%s] start", kThread);
    tell((*upload)->callback, run(**upload));
    finish(**upload);
    return nullptr;
}

}  // namespace

bool startParamTransferThread(const std::shared_ptr<Upload>& upload) {
    auto share = std::make_unique<std::shared_ptr<Upload>>(upload);
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, paramTransferThread, share.get()) != 0) return false;
    (void)share.release();
    pthread_detach(thread);
    return true;
}

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
