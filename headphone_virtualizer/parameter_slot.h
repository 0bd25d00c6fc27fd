// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "headphone_virtualizer/upload.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/**
 * The two places for parameter buffers, one a kind, and what is in them. All of it
 * belongs to the thread that serves all calls: an upload's thread has an object of its
 * own (Upload), and its end is noticed here.
 */

constexpr int32_t kNoHandle = -1;

struct aud_hv_parameter {
    explicit aud_hv_parameter(const ParameterKind& ofKind) : kind(ofKind) {}

    const ParameterKind& kind;
    int32_t handle = kNoHandle;  // kNoHandle: the slot is free
    uint32_t registeredSize = 0;
    uint32_t appendAccumulation = 0;  // the number of bytes so far
    Block data;                       // registeredSize bytes; the upload's while there is one
    sp<IHeadphoneVirtualizerCallback> callback;
    std::shared_ptr<Upload> upload;  // null before apply()
    /**
     * An earlier upload that may not be over: its thread still runs, or the driver never
     * told the end of the transfer and may go on reading the data, which stay for it until
     * it takes the next ones.
     */
    std::shared_ptr<Upload> lingering;
};

/** How the slot's upload stands; Idle where there is none. */
TransferState transferState(const aud_hv_parameter& slot);

/** Whether an earlier upload of the slot has a thread that still runs. */
bool isWindingDown(const aud_hv_parameter& slot);

/** The slot of that kind, or null for a kind that there is not. */
aud_hv_parameter* getParamFromType(ParamType type);

/** The slot whose buffer has that handle, or null, which is logged. */
aud_hv_parameter* getParamFromHandle(int32_t handle);

/** The slot of that kind as it is, even where its upload has ended: for looking only. */
const aud_hv_parameter& peekAtSlot(ParamType type);

/** The other kind's slot. */
aud_hv_parameter& otherSlot(const aud_hv_parameter& slot);

/** A handle that no buffer has: 1 to 254, in turn. */
int32_t drawHandle();

/**
 * Makes the slot free: gives up buffer, callback and upload. An upload that may not be
 * over lingers with what it needs.
 *
 * @return 0, or -3 for null, which is logged
 */
int32_t initializeParameter(aud_hv_parameter* slot);

/** Whether there is no slot, which is logged in the words of `function`. */
bool isMissing(const char* function, const aud_hv_parameter* slot);

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
