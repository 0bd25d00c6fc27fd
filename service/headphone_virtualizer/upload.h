// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.0/IHeadphoneVirtualizerCallback.h>
#include <stdlib.h>

#include <memory>

#include "parameter_kind.h"
#include "virtualizer_lock.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

using ::android::sp;
using V5_0::IHeadphoneVirtualizerCallback;

struct FreeBlock {
    void operator()(uint8_t* block) const { free(block); }
};
using Block = std::unique_ptr<uint8_t, FreeBlock>;

enum class TransferState : int32_t {
    Idle,          // the upload has ended
    Waiting,       // waits for the other kind's upload or for its own thread
    Transferring,  // until the client's callback has returned
};

/** Access of the controller's driver to the data of an upload. */
enum class DriverHold : uint8_t {
    None,     // the driver has not received the data
    Reading,  // the driver may read the data
    Done,     // the driver has reported the end of the transfer
};

/**
 * One upload, from the client's apply() to its end. Its slot, its thread and a waiting upload of the other
 * kind share it. If the slot gives up the upload, data and callback stay with the thread. Only the thread
 * accesses the members, except the guarded ones.
 */
struct Upload {
    explicit Upload(const ParameterKind& ofKind) : kind(ofKind) {}

    const ParameterKind& kind;
    Block data;  // the only copy; freed when the upload ends, unless the driver still reads it
    uint32_t size = 0;
    sp<IHeadphoneVirtualizerCallback> callback;
    std::shared_ptr<const Upload> predecessor;  // the other kind's upload to wait for, or null
    DriverHold hold = DriverHold::None;

    TransferState transferState GUARDED_BY(virtualizerLock) = TransferState::Waiting;
    bool cancelFlag GUARDED_BY(virtualizerLock) = false;
};

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
