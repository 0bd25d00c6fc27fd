// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "parameter_slot.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/** The service's side of an upload: start and cancel. Any thread that holds the lock. */

/**
 * Whether the controller can be given an upload. It is not asked while an upload of ours runs:
 * the new one will wait.
 *
 * @return kSuccess, kBusy, or kNotSupported if the controller's state cannot be read
 */
int32_t checkResuming() REQUIRES(virtualizerLock);

/**
 * Whether the kind's transfer thread still works on an upload, perhaps one that the slot has
 * given up, so that no other upload can start. False on that thread itself: an upload that is
 * applied from inside the callback is carried out after it.
 */
bool isWindingDown(const aud_hv_parameter& slot) REQUIRES(virtualizerLock);

/**
 * Starts the upload of the slot's full buffer, which belongs to the upload's thread from then
 * on. The upload waits for the other kind's upload that is under way now, if there is one.
 *
 * @return false if no thread can be created; the slot is as before then
 */
bool startTransfer(aud_hv_parameter& slot) REQUIRES(virtualizerLock);

/**
 * Asks the slot's upload to end and returns at once; the callback reports the outcome.
 *
 * @return kSuccess, or kNotCancelled if there is no upload or the controller refuses
 */
int32_t cancelInt(const aud_hv_parameter& slot) REQUIRES(virtualizerLock);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
