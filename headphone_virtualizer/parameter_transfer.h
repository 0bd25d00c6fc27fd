// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "headphone_virtualizer/parameter_slot.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/**
 * The service's side of an upload: start, cancel, wait. On the thread that serves all
 * calls.
 */

/**
 * Whether the controller can be given an upload. While an upload of ours runs it is not
 * asked: the new one will wait.
 *
 * @return kSuccess, kBusy, or kNotSupported where its state cannot be read
 */
int32_t checkResuming();

/**
 * Starts the upload of the slot's full buffer, which belongs to the upload's thread from
 * then on. It goes after the other kind's upload that is under way now, if there is one.
 *
 * @return false where no thread can be had: the slot is as before then
 */
bool startTransfer(aud_hv_parameter& slot);

/**
 * Tells the slot's upload to end and returns at once; its callback tells the outcome.
 *
 * @return kSuccess, or kNotCancelled where there is none or the controller refuses
 */
int32_t cancelInt(const aud_hv_parameter& slot);

/** Waits for the end of the slot's upload: 0 when there is none, -1 after 20 s. */
int32_t waitSelfParamTransferThreadFinish(const aud_hv_parameter& slot);

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
