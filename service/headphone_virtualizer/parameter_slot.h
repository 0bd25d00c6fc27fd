// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <memory>

#include "upload.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/** The two slots for parameter buffers, one a kind, and their contents. Any thread. */

constexpr int32_t kNoHandle = -1;

struct aud_hv_parameter {
    explicit aud_hv_parameter(const ParameterKind& ofKind) : kind(ofKind) {}

    const ParameterKind& kind;
    int32_t handle = kNoHandle;  // kNoHandle: the slot is free
    uint32_t registeredSize = 0;
    uint32_t appendAccumulation = 0;  // number of bytes appended so far
    Block data;                       // registeredSize bytes; moved to the upload by apply()
    sp<IHeadphoneVirtualizerCallback> callback;
    std::shared_ptr<Upload> upload;  // null before apply()
    /**
     * The upload that the kind's transfer thread works on; null if there is no thread. Differs
     * from `upload` if a discard has given that up before the thread was done.
     */
    std::shared_ptr<Upload> carried;
    /** Uploads that the same thread carries out next: applied from inside the callback of `carried`. */
    std::deque<std::shared_ptr<Upload>> queue;
    /**
     * An ended upload whose data the driver may still be reading, since it never reported the
     * end of the transfer. Kept until the driver takes the next data of this kind.
     */
    std::shared_ptr<Upload> lingering;
};

/** Returns the slot of that kind, or null if the kind is unknown. */
aud_hv_parameter* getParamFromType(ParamType type) REQUIRES(virtualizerLock);

/** Whether a handle counts whose upload's result is being delivered by the calling thread. */
enum class EvenIfOver : bool { No, Yes };

/** Returns the slot whose buffer has that handle, or null, which is logged. */
aud_hv_parameter* getParamFromHandle(int32_t handle, EvenIfOver evenIfOver = EvenIfOver::No)
    REQUIRES(virtualizerLock);

/** Returns the other kind's slot. */
aud_hv_parameter& otherSlot(const aud_hv_parameter& slot) REQUIRES(virtualizerLock);

/**
 * Whether the slot has an upload that a caller must wait for. An upload whose result the
 * calling thread is delivering is over: the caller is the client's callback.
 */
bool isUploading(const aud_hv_parameter& slot) REQUIRES(virtualizerLock);

/** Returns a handle that no buffer has: 1 to 254, in turn. */
int32_t drawHandle() REQUIRES(virtualizerLock);

/**
 * Makes the slot free: gives up buffer, callback and upload. The thread of an upload that has
 * not ended keeps the upload until it is done.
 *
 * @return 0, or -3 for null, which is logged
 */
int32_t initializeParameter(aud_hv_parameter* slot) REQUIRES(virtualizerLock);

/** Whether `slot` is null, which is logged with the name `function`. */
bool isMissing(const char* function, const aud_hv_parameter* slot);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
