// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "parameter_slot.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/** Starts and cancels uploads. Any thread that holds the lock. */

/**
 * Checks whether the controller can accept an upload. Does not read the controller's state while an upload
 * of this daemon runs, since the new upload waits for that.
 *
 * @return kSuccess, kBusy, or kNotSupported if the controller's state cannot be read
 */
int32_t checkResuming() REQUIRES(virtualizerLock);

/**
 * Returns whether the kind's transfer thread still works on an upload, even one that the slot has given up:
 * no other upload can start then. False on that thread itself, because an upload that is applied from
 * inside the callback runs after it.
 */
bool isWindingDown(const aud_hv_parameter& slot) REQUIRES(virtualizerLock);

/**
 * Starts the upload of the slot's full buffer. The data then belongs to the upload's thread. If an upload of
 * the other kind is under way, the new upload waits for it.
 *
 * @return false if no thread can be created; the buffer is unchanged then
 */
bool startTransfer(aud_hv_parameter& slot) REQUIRES(virtualizerLock);

/**
 * Requests the end of the slot's upload and returns at once; the callback reports the result.
 *
 * @return kSuccess, or kNotCancelled if there is no upload or the controller refuses
 */
int32_t cancelInt(const aud_hv_parameter& slot) REQUIRES(virtualizerLock);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
