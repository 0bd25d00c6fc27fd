// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include "parameter_slot.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * Allocates, fills and discards a buffer. Any thread that holds the lock. If a slot is null, the functions
 * fail and log that.
 */

/**
 * Allocates a buffer of `size` bytes. The slot's existing buffer is discarded first, so the call may block as
 * discardParameterBufferInt does.
 *
 * @return the handle, or 0 if there is not enough memory or `size` is negative
 */
int32_t allocateParameterBufferInt(aud_hv_parameter* slot, int32_t size) REQUIRES(virtualizerLock);

/**
 * Frees the buffer. If it is being uploaded, cancels the upload and waits up to 20 s for its end, with the
 * lock released; after a time-out the upload stays with its thread. Does not wait if it is called on the
 * slot's own transfer thread, that is, from inside the upload's callback.
 *
 * @return kSuccess, or kNotSupported for null
 */
int32_t discardParameterBufferInt(aud_hv_parameter* slot) REQUIRES(virtualizerLock);

/**
 * Appends bytes.
 *
 * @return kSuccess, kBusy during an upload, or kSizeError if the bytes do not fit. After an error nothing is
 *     copied.
 */
int32_t appendInt(aud_hv_parameter* slot, const uint8_t* bytes, size_t count) REQUIRES(virtualizerLock);

/** Returns kSuccess if the buffer is full, or kSizeError, which is logged. */
int32_t checkDataSize(const aud_hv_parameter* slot) REQUIRES(virtualizerLock);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
