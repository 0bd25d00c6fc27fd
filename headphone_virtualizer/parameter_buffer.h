// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include "headphone_virtualizer/parameter_slot.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/**
 * A buffer's life up to its upload: made of its full size, filled from front to back,
 * dropped. On the thread that serves all calls. A null slot is logged and refused.
 */

/**
 * Makes a buffer of `size` bytes in place of the one that is there, which is discarded
 * first: blocks as discardParameterBufferInt does.
 *
 * @return its handle, or 0 where the memory does not grant it (or `size` is negative)
 */
int32_t allocateParameterBufferInt(aud_hv_parameter* slot, int32_t size);

/**
 * Ends the buffer. An upload is cancelled and waited for, up to 20 s; one that lasts
 * longer is left to end by itself. Always 0, but kNotSupported for null.
 */
int32_t discardParameterBufferInt(aud_hv_parameter* slot);

/**
 * Adds bytes to the end.
 *
 * @return kSuccess; kBusy during an upload, kSizeError where they do not fit: nothing is
 *     copied then
 */
int32_t appendInt(aud_hv_parameter* slot, const uint8_t* bytes, size_t count);

/** kSuccess where the buffer is full, kSizeError where it is not (logged). */
int32_t checkDataSize(const aud_hv_parameter* slot);

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
