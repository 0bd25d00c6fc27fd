// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.0/IHeadphoneVirtualizerCallback.h>
#include <stdlib.h>

#include <atomic>
#include <memory>

#include "headphone_virtualizer/parameter_kind.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

using ::android::sp;
using V5_0::IHeadphoneVirtualizerCallback;

struct FreeBlock {
    void operator()(uint8_t* block) const { free(block); }
};
using Block = std::unique_ptr<uint8_t, FreeBlock>;

enum class TransferState : int32_t {
    Idle,          // there is no transfer, or it has ended
    Waiting,       // for the other kind's transfer, or for its own thread to begin
    Transferring,  // the controller is given the data, or works on it
};

/** What the driver does with an upload's data. */
enum class DriverHold : uint8_t {
    None,     // it was never given them
    Reading,  // it has not told that the transfer ended
    Done,
};

/**
 * One upload, from the client's apply() to its outcome. It is shared by its slot, its
 * thread and the other kind's upload that waits for it, and lives as long as any of them:
 * a slot that gives an upload up takes neither data nor callback from the thread, and
 * the thread never touches the slot. Its thread has it to itself but for the atomics.
 */
struct Upload {
    explicit Upload(const ParameterKind& ofKind) : kind(ofKind) {}

    const ParameterKind& kind;
    Block data;  // the only copy; freed as the upload ends, but for what the driver still reads
    uint32_t size = 0;
    sp<IHeadphoneVirtualizerCallback> callback;
    std::shared_ptr<const Upload> predecessor;  // to be waited for; null for none
    DriverHold hold = DriverHold::None;         // the thread's until the upload is Idle

    std::atomic<TransferState> transferState{TransferState::Waiting};  // written by the thread
    std::atomic<bool> cancelFlag{false};                               // written by the service
};

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
