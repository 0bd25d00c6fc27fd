// SPDX-License-Identifier: Apache-2.0
#include "headphone_virtualizer/parameter_slot.h"

#include "headphone_virtualizer/log_tag.h"
#include "platform/log.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {
namespace {

constexpr int32_t kHandleEnd = 255;
constexpr int32_t kNoSlot = -3;

aud_hv_parameter deviceSlot{kDeviceParameters};
aud_hv_parameter hrtfSlot{kHrtfParameters};

/** An upload that has ended ends its buffer; to be called before anybody looks at the slots. */
void freeEndedSlots() {
    for (aud_hv_parameter* slot : {&deviceSlot, &hrtfSlot}) {
        if (slot->upload && transferState(*slot) == TransferState::Idle) initializeParameter(slot);
    }
}

void partWithUpload(aud_hv_parameter& slot) {
    const bool ended = transferState(slot) == TransferState::Idle;
    // Only one transfer of a kind is ever with the driver.
    if (ended && slot.upload->hold != DriverHold::None) slot.lingering.reset();
    if (!ended || slot.upload->hold == DriverHold::Reading) slot.lingering = slot.upload;
    slot.upload.reset();
}

}  // namespace

TransferState transferState(const aud_hv_parameter& slot) {
    return slot.upload ? slot.upload->transferState.load() : TransferState::Idle;
}

bool isWindingDown(const aud_hv_parameter& slot) {
    return slot.lingering && slot.lingering->transferState != TransferState::Idle;
}

aud_hv_parameter* getParamFromType(ParamType type) {
    freeEndedSlots();
    for (aud_hv_parameter* slot : {&deviceSlot, &hrtfSlot}) {
        if (slot->kind.type == type) return slot;
    }
    return nullptr;
}

aud_hv_parameter* getParamFromHandle(int32_t handle) {
    freeEndedSlots();
    for (aud_hv_parameter* slot : {&deviceSlot, &hrtfSlot}) {
        if (handle != kNoHandle && slot->handle == handle) return slot;
    }
    platform::logError(kTag, "[%s] handle is not found!", __func__);
    return nullptr;
}

const aud_hv_parameter& peekAtSlot(ParamType type) {
    return type == ParamType::DEVICE ? deviceSlot : hrtfSlot;
}

aud_hv_parameter& otherSlot(const aud_hv_parameter& slot) {
    return &slot == &deviceSlot ? hrtfSlot : deviceSlot;
}

int32_t drawHandle() {
    static int32_t counter = 0;
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
    if (slot->upload) partWithUpload(*slot);
    return 0;
}

bool isMissing(const char* function, const aud_hv_parameter* slot) {
    if (slot == nullptr) platform::logError(kTag, "[%s] AudHvParameter is nullptr", function);
    return slot == nullptr;
}

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
