// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <memory>

#include "upload.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/** The two slots for parameter buffers, one per kind. Any thread. */

constexpr int32_t kNoHandle = -1;

struct aud_hv_parameter {
    explicit aud_hv_parameter(const ParameterKind& ofKind) : kind(ofKind) {}

    const ParameterKind& kind;
    int32_t handle = kNoHandle;       // kNoHandle if the slot is free
    uint32_t registeredSize = 0;      // in bytes
    uint32_t appendAccumulation = 0;  // number of bytes appended so far
    Block data;                       // registeredSize bytes; moved to the upload by apply()
    sp<IHeadphoneVirtualizerCallback> callback;
    std::shared_ptr<Upload> upload;  // null before apply()
    /**
     * The upload on which the kind's transfer thread works; null if there is no thread. Differs from
     * `upload` if a discard has given up that upload before the thread has finished it.
     */
    std::shared_ptr<Upload> running;
    /** Uploads that were applied from inside the callback of `running`. The same thread runs them next. */
    std::deque<std::shared_ptr<Upload>> queue;
    /**
     * An ended upload whose data the driver may still read, since it has not reported the end of the
     * transfer. Kept until the driver accepts the next data of this kind.
     */
    std::shared_ptr<Upload> lingering;
};

/** Returns the slot of a kind, or `nullptr` if the kind is unknown. */
aud_hv_parameter* getParamFromType(ParamType type) REQUIRES(virtualizerLock);

/** Whether a handle is valid although the calling thread is delivering the result of its upload. */
enum class DuringDelivery : bool { Invalid, Valid };

/** Returns the slot whose buffer has the handle. Logs and returns `nullptr` if no buffer has it. */
aud_hv_parameter* getParamFromHandle(int32_t handle, DuringDelivery duringDelivery = DuringDelivery::Invalid)
    REQUIRES(virtualizerLock);

/** Returns the other kind's slot. */
aud_hv_parameter& otherSlot(const aud_hv_parameter& slot) REQUIRES(virtualizerLock);

/**
 * Returns whether the slot has an upload for which the caller must wait. False if the calling thread is
 * delivering the result of the upload: the call then comes from inside the client's callback.
 */
bool isUploading(const aud_hv_parameter& slot) REQUIRES(virtualizerLock);

/** Returns the next handle, 1 to 254, that no buffer has. */
int32_t drawHandle() REQUIRES(virtualizerLock);

/**
 * Frees the slot: drops buffer, callback and upload. If the upload has not ended, its thread keeps it until
 * it ends.
 *
 * @return 0, or -3 if `slot` is null, which is logged
 */
int32_t initializeParameter(aud_hv_parameter* slot) REQUIRES(virtualizerLock);

/** Returns whether `slot` is null; logs that if so. `function` is the function name printed in the log. */
bool isMissing(const char* function, const aud_hv_parameter* slot);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
