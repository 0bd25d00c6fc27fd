// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "parameter_slot.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * Starts the slot's transfer thread, which carries out `upload` and then the uploads of the
 * slot's queue. For each of them it keeps the TV awake, waits for the upload's predecessor,
 * gives the controller the data, waits for the result, calls the client's callback and frees
 * data, callback and slot. That takes at most 40 s, unless the driver or the callback blocks.
 * The thread is detached. The slot must not have a transfer thread yet.
 *
 * @return false if the thread cannot be created; nothing has changed then
 */
bool startParamTransferThread(aud_hv_parameter& slot, const std::shared_ptr<Upload>& upload)
    REQUIRES(virtualizerLock);

/** Whether the calling thread is the transfer thread of that kind: a call from inside a client's callback. */
bool isTransferThreadOf(const ParameterKind& kind);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
