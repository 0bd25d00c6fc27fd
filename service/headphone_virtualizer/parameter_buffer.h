// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include "parameter_slot.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * A buffer's life up to its upload: allocated at its full size, filled from front to back,
 * discarded. Any thread that holds the lock. A null slot is logged and refused.
 */

/**
 * Allocates a buffer of `size` bytes in place of the slot's present one, which is discarded
 * first: blocks as discardParameterBufferInt does.
 *
 * @return the handle, or 0 if there is not enough memory or `size` is negative
 */
int32_t allocateParameterBufferInt(aud_hv_parameter* slot, int32_t size) REQUIRES(virtualizerLock);

/**
 * Frees the buffer. Cancels an upload and waits for its end, up to 20 s, with the lock
 * released; an upload that lasts longer is left to its thread. Does not wait on the slot's own
 * transfer thread, that is, for a call from inside the upload's callback.
 *
 * @return kSuccess, or kNotSupported for null
 */
int32_t discardParameterBufferInt(aud_hv_parameter* slot) REQUIRES(virtualizerLock);

/**
 * Appends bytes.
 *
 * @return kSuccess; kBusy during an upload, kSizeError if the bytes do not fit: nothing is
 *     copied then
 */
int32_t appendInt(aud_hv_parameter* slot, const uint8_t* bytes, size_t count) REQUIRES(virtualizerLock);

/** Returns kSuccess if the buffer is full, or kSizeError, which is logged. */
int32_t checkDataSize(const aud_hv_parameter* slot) REQUIRES(virtualizerLock);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
