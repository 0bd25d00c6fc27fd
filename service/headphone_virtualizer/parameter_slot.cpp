// SPDX-License-Identifier: Apache-2.0
#include "parameter_slot.h"

#include "log_tag.h"
#include "platform/log.h"
#include "transfer_thread.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

namespace {

constexpr int32_t kHandleEnd = 255;
constexpr int32_t kNoSlot = -3;

aud_hv_parameter deviceSlot GUARDED_BY(virtualizerLock){kDeviceParameters};
aud_hv_parameter hrtfSlot GUARDED_BY(virtualizerLock){kHrtfParameters};

/** Returns whether the calling thread is currently delivering the result of the slot's upload. */
REQUIRES(virtualizerLock) bool isDelivering(const aud_hv_parameter& slot) {
    return slot.upload != nullptr && slot.upload == slot.running && isTransferThreadOf(slot.kind);
}

}  // namespace

aud_hv_parameter* getParamFromType(ParamType type) {
    for (aud_hv_parameter* slot : {&deviceSlot, &hrtfSlot}) {
        if (slot->kind.type == type) return slot;
    }
    return nullptr;
}

aud_hv_parameter* getParamFromHandle(int32_t handle, DuringDelivery duringDelivery) {
    for (aud_hv_parameter* slot : {&deviceSlot, &hrtfSlot}) {
        const bool valid = duringDelivery == DuringDelivery::Valid || !isDelivering(*slot);
        if (handle != kNoHandle && slot->handle == handle && valid) return slot;
    }
    platform::logError(kLogTag, "[%s] handle is not found!", __func__);
    return nullptr;
}

aud_hv_parameter& otherSlot(const aud_hv_parameter& slot) {
    return &slot == &deviceSlot ? hrtfSlot : deviceSlot;
}

bool isUploading(const aud_hv_parameter& slot) {
    return slot.upload != nullptr && !isDelivering(slot);
}

int32_t drawHandle() {
    static int32_t counter GUARDED_BY(virtualizerLock) = 0;
    do {
        if (++counter >= kHandleEnd) counter = 1;
    } while (counter == hrtfSlot.handle || counter == deviceSlot.handle);
    return counter;
}

int32_t initializeParameter(aud_hv_parameter* slot) {
    if (isMissing(__func__, slot)) return kNoSlot;
    slot->handle = kNoHandle;
    slot->registeredSize = 0;
    slot->appendAccumulation = 0;
    slot->data.reset();
    slot->callback.clear();
    // If a queued upload is given up, it has been cancelled, so its data will not be sent.
    if (slot->upload != nullptr && slot->upload != slot->running) slot->upload->data.reset();
    slot->upload.reset();
    return 0;
}

bool isMissing(const char* function, const aud_hv_parameter* slot) {
    if (slot == nullptr) platform::logError(kLogTag, "[%s] AudHvParameter is nullptr", function);
    return slot == nullptr;
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
