// SPDX-License-Identifier: Apache-2.0
#include "headphone_virtualizer/slot_state.h"

#include "headphone_virtualizer/parameter_slot.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {
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

}  // namespace

std::vector<platform::StateItem> describeSlot(ParamType type) {
    const aud_hv_parameter& slot = peekAtSlot(type);
    const Upload* const upload = slot.upload.get();
    return {
        platform::yesNo("allocated", slot.handle != kNoHandle),
        platform::number("size", slot.registeredSize),
        platform::number("filled", slot.appendAccumulation),
        platform::text("upload", upload != nullptr ? nameOf(upload->transferState) : "none"),
        platform::yesNo("cancelled_while_waiting", upload != nullptr && upload->cancelFlag),
        platform::text("earlier_upload", slot.lingering ? nameOf(slot.lingering->transferState) : "none")};
}

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
