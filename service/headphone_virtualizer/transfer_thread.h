// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "parameter_slot.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * Starts the slot's transfer thread, which runs `upload` and then the uploads in the slot's queue. For each
 * upload the thread takes the wake lock, waits for the predecessor, passes the data to the controller, waits
 * for the result, calls the client's callback, and frees data, callback and slot. This takes up to 40 s,
 * longer if the driver or the callback blocks. The thread is detached. The slot must not have a transfer
 * thread yet.
 *
 * @return false if the thread cannot be created; nothing has changed then
 */
bool startParamTransferThread(aud_hv_parameter& slot, const std::shared_ptr<Upload>& upload)
    REQUIRES(virtualizerLock);

/** Returns whether the calling thread is the kind's transfer thread: the call then comes from a callback. */
bool isTransferThreadOf(const ParameterKind& kind);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
