// SPDX-License-Identifier: Apache-2.0
#include "parameter_transfer.h"

#include <utility>

#include "log_tag.h"
#include "platform/log.h"
#include "result_code.h"
#include "transfer_thread.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {
namespace {

using platform::logDebug;
using platform::logError;
using platform::logWarning;

int32_t cancelAtController(const aud_hv_parameter& slot) {
    if (notifyCancelToBeCtrl(slot.kind.cancelIoctl) == 0) return kSuccess;
    logWarning(kLogTag, "[cancelInt] cancel failed.");
    return kNotCancelled;
}

REQUIRES(virtualizerLock) int32_t cancelInState(const aud_hv_parameter& slot, TransferState state) {
    switch (state) {
        case TransferState::Idle:
            logWarning(kLogTag, "[cancelInt] cancel failed.");
            return kNotCancelled;
        case TransferState::Waiting:
            slot.upload->cancelFlag = true;
            return kSuccess;
        case TransferState::Transferring:
            return cancelAtController(slot);
    }
    logWarning(kLogTag, "[cancelInt] Transfer state is invalid.");
    return kNotSupported;
}

}  // namespace

int32_t checkResuming() {
    for (const ParamType type : {ParamType::DEVICE, ParamType::HRTF}) {
        if (isUploading(*getParamFromType(type))) return kSuccess;
    }
    for (const char* file : {kDeviceStateFile, kHrtfStateFile}) {
        BeCtrlTransferState state{};
        if (const int32_t result = readBeCtrlTransferState(file, state); result != 0) {
            logError(kLogTag, "[%s] Proc file error! ret=%d", __func__, result);
            return result;
        }
        if (state.state != kBeCtrlIdle) {
            logWarning(kLogTag, "[%s] BeCtrl is busy!", __func__);
            return kBusy;
        }
    }
    return kSuccess;
}

bool isWindingDown(const aud_hv_parameter& slot) {
    return slot.running != nullptr && !isTransferThreadOf(slot.kind);
}

bool startTransfer(aud_hv_parameter& slot) {
    const auto upload = std::make_shared<Upload>(slot.kind);
    upload->data = std::move(slot.data);
    upload->size = slot.appendAccumulation;
    upload->callback = slot.callback;
    if (const aud_hv_parameter& other = otherSlot(slot); isUploading(other)) {
        upload->predecessor = other.upload;
    }
    if (slot.running != nullptr) {
        slot.queue.push_back(upload);
    } else if (!startParamTransferThread(slot, upload)) {
        slot.data = std::move(upload->data);
        return false;
    }
    slot.upload = upload;
    slot.callback.clear();
    return true;
}

int32_t cancelInt(const aud_hv_parameter& slot) {
    logDebug(kLogTag, "[%s] start", __func__);
    const TransferState state = slot.upload ? slot.upload->transferState : TransferState::Idle;
    const int32_t result = cancelInState(slot, state);
    logDebug(kLogTag, "[%s] end. Return:%d", __func__, result);
    return result;
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
