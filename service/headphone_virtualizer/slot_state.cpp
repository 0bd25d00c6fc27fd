// SPDX-License-Identifier: Apache-2.0
#include "slot_state.h"

#include "parameter_slot.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {
namespace {

const char* nameOf(TransferState state) {
    switch (state) {
        case TransferState::Idle:
            return "ended";
        case TransferState::Waiting:
            return "waiting";
        case TransferState::Transferring:
            return "transferring";
    }
    return "?";
}

REQUIRES(virtualizerLock) const char* describe(const Upload* upload) {
    return upload != nullptr ? nameOf(upload->transferState) : "none";
}

/**
 * Returns an upload that the slot has given up but that its thread or the driver still uses, or `nullptr`.
 */
const Upload* earlierUpload(const aud_hv_parameter& slot) {
    return slot.running != nullptr && slot.running != slot.upload ? slot.running.get() : slot.lingering.get();
}

}  // namespace

std::vector<platform::StateItem> describeSlot(ParamType type) {
    const aud_hv_parameter& slot = *getParamFromType(type);
    const Upload* const upload = slot.upload.get();
    return {platform::yesNo("allocated", slot.handle != kNoHandle),
            platform::number("size", slot.registeredSize),
            platform::number("filled", slot.appendAccumulation),
            platform::text("upload", describe(upload)),
            platform::yesNo("cancelled_while_waiting", upload != nullptr && upload->cancelFlag),
            platform::text("earlier_upload", describe(earlierUpload(slot)))};
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
