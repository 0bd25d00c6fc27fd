// SPDX-License-Identifier: Apache-2.0
#include "parameter_buffer.h"

#include <string.h>

#include "log_tag.h"
#include "parameter_transfer.h"
#include "platform/log.h"
#include "result_code.h"
#include "transfer_thread.h"
#include "transfer_wait.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

using platform::logDebug;
using platform::logError;
using platform::logWarning;

int32_t allocateParameterBufferInt(aud_hv_parameter* slot, int32_t size) {
    if (isMissing(__func__, slot)) return 0;
    logDebug(kLogTag, "[%s] start. type=%d, handle=%d", __func__, static_cast<int>(slot->kind.type),
             slot->handle);
    do {
        discardParameterBufferInt(slot);
        // While the discard waits, another thread may allocate a buffer of this kind.
    } while (slot->handle != kNoHandle);
    if (size >= 0) slot->data.reset(static_cast<uint8_t*>(malloc(static_cast<size_t>(size))));
    if (slot->data == nullptr) {
        logDebug(kLogTag, "[%s] malloc fail.", __func__);
        return 0;
    }
    logDebug(kLogTag, "[%s] malloc success! data=%p", __func__, static_cast<void*>(slot->data.get()));
    slot->handle = drawHandle();
    slot->registeredSize = static_cast<uint32_t>(size);
    logDebug(kLogTag, "[%s] end. Return:%d", __func__, slot->handle);
    return slot->handle;
}

int32_t discardParameterBufferInt(aud_hv_parameter* slot) {
    if (isMissing(__func__, slot)) return kNotSupported;
    logDebug(kLogTag, "[%s] star", __func__);
    const std::shared_ptr<Upload> upload = slot->upload;
    if (isUploading(*slot)) {
        logDebug(kLogTag, "[%s] call cancel()", __func__);
        cancelInt(*slot);
        // A call from inside a callback runs on the thread that ends the upload, so it must not wait for
        // that.
        if (!isTransferThreadOf(slot->kind)) waitSelfParamTransferThreadFinish(*upload);
    }
    // After a wait the slot may be free already, or belong to another thread.
    if (slot->handle != kNoHandle && slot->upload == upload) {
        logDebug(kLogTag, "[%s] release memory.", __func__);
        initializeParameter(slot);
    }
    logDebug(kLogTag, "[%s] end", __func__);
    return kSuccess;
}

int32_t appendInt(aud_hv_parameter* slot, const uint8_t* bytes, size_t count) {
    if (isMissing(__func__, slot)) return kNotSupported;
    logDebug(kLogTag, "[%s] start.  registered size=%u,  append accumulation=%u, data size=%zu", __func__,
             slot->registeredSize, slot->appendAccumulation, count);
    if (isUploading(*slot)) {
        logWarning(kLogTag, "[%s] HIDL is waiting or BeCtrl is transferring!!", __func__);
        return kBusy;
    }
    if (count > slot->registeredSize - slot->appendAccumulation) {
        logError(kLogTag, "[%s] data size error", __func__);
        return kSizeError;
    }
    if (count > 0) memcpy(slot->data.get() + slot->appendAccumulation, bytes, count);
    slot->appendAccumulation += static_cast<uint32_t>(count);
    logDebug(kLogTag, "[%s] end", __func__);
    return kSuccess;
}

int32_t checkDataSize(const aud_hv_parameter* slot) {
    if (isMissing(__func__, slot)) return kNotSupported;
    if (slot->registeredSize == slot->appendAccumulation) return kSuccess;
    logError(kLogTag, "[%s] data size error! registered size:%u, array size:%u", __func__,
             slot->registeredSize, slot->appendAccumulation);
    return kSizeError;
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
