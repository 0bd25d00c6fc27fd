// SPDX-License-Identifier: Apache-2.0
#include "HeadphoneVirtualizer.h"

#include <iterator>
#include <string_view>

#include "back_end.h"
#include "log_tag.h"
#include "parameter_buffer.h"
#include "parameter_transfer.h"
#include "platform/back_end_commands.h"
#include "platform/log.h"
#include "platform/write_dump.h"
#include "result_code.h"
#include "slot_state.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

using namespace headphone_virtualizer;

namespace {

using ::android::hardware::Void;
using platform::logDebug;
using platform::logError;
using platform::logWarning;

constexpr const char* kTypes[] = {"Tovi"};
constexpr const char* kType = kTypes[0];
constexpr size_t kMaxAppendSize = 262144;

bool isHrtfSupported(const char* function) {
    if (checkDtvSvcBootForHV() == 0) return isBeModelForHV();
    logError(kLogTag, "[%s] checkDtvSvcBoot failed. Return:%d", function, 0);
    return false;
}

void logKind(const char* function, const aud_hv_parameter& slot) {
    logDebug(kLogTag, "[%s] ParamType=%d", function, static_cast<int>(slot.kind.type));
}

}  // namespace

HeadphoneVirtualizer::HeadphoneVirtualizer() {
    logDebug(kLogTag, "[%s] start", __func__);
    hrtfSupported_ = isHrtfSupported(__func__);
    if (!hrtfSupported_) {
        logError(kLogTag, "[%s] end. HRTF is not supported.", __func__);
        return;
    }
    // Continue after a time-out: the controller may still take later commands.
    checkBeCtrlBootForHV();
    logDebug(kLogTag, "[%s] end", __func__);
}

Return<int32_t> HeadphoneVirtualizer::setVirtualizerEnabled(bool enable) {
    return setSwitch(__func__, kVirtualizer, enable);
}

Return<bool> HeadphoneVirtualizer::getVirtualizerEnabled() {
    return getSwitch(__func__, kVirtualizer);
}

Return<int32_t> HeadphoneVirtualizer::setVirtualizerType(const hidl_string& type) {
    logDebug(kLogTag, "[%s] start type=[%s]", __func__, type.c_str());
    int32_t result = kSuccess;
    if (std::string_view(type.c_str(), type.size()) != kType) {
        logError(kLogTag, "[%s] %s is not supported", __func__, type.c_str());
        result = kNotSupported;
    }
    logDebug(kLogTag, "[%s] end Return: %d", __func__, result);
    return result;
}

Return<void> HeadphoneVirtualizer::getVirtualizerType(getVirtualizerType_cb _hidl_cb) {
    logDebug(kLogTag, "[%s] start", __func__);
    logDebug(kLogTag, "[%s] end Return type=[%s]", __func__, kType);
    _hidl_cb(kType);
    return Void();
}

Return<void> HeadphoneVirtualizer::getAvailableVirtualizerTypes(getAvailableVirtualizerTypes_cb _hidl_cb) {
    logDebug(kLogTag, "[%s] start", __func__);
    hidl_vec<hidl_string> types(std::begin(kTypes), std::end(kTypes));
    for (const hidl_string& type : types) logDebug(kLogTag, "[%s] types[i]=[%s]", __func__, type.c_str());
    _hidl_cb(types);
    return Void();
}

Return<int32_t> HeadphoneVirtualizer::setUpmixEnabled(bool enable) {
    return setSwitch(__func__, kUpmix, enable);
}

Return<bool> HeadphoneVirtualizer::getUpmixEnabled() {
    return getSwitch(__func__, kUpmix);
}

Return<int32_t> HeadphoneVirtualizer::allocateParameterBuffer(ParamType type, int32_t size) {
    const std::lock_guard lock(virtualizerLock);
    logDebug(kLogTag, "[%s] start. ParamType=%d, size=%d", __func__, static_cast<int>(type), size);
    int32_t handle = 0;
    if (aud_hv_parameter* slot = getParamFromType(type); slot != nullptr) {
        handle = allocateParameterBufferInt(slot, size);
    } else {
        logError(kLogTag, "[%s] ParamType(%d) is not supported.", __func__, static_cast<int>(type));
    }
    logDebug(kLogTag, "[%s] end. handle:%d", __func__, handle);
    return handle;
}

Return<int32_t> HeadphoneVirtualizer::discardParameterBuffer(int32_t bufferHandle) {
    const std::lock_guard lock(virtualizerLock);
    logDebug(kLogTag, "[%s] start. handle=%d", __func__, bufferHandle);
    int32_t result = kHandleNotFound;
    // A client may free its buffer from inside the callback: the handle is still valid there.
    if (aud_hv_parameter* slot = getParamFromHandle(bufferHandle, DuringDelivery::Valid); slot != nullptr) {
        logKind(__func__, *slot);
        result = discardParameterBufferInt(slot);
    }
    logDebug(kLogTag, "[%s] end. Return:%d", __func__, result);
    return result;
}

Return<int32_t> HeadphoneVirtualizer::getMaxAppendSize() {
    logDebug(kLogTag, "[%s] start", __func__);
    logDebug(kLogTag, "[%s] end. Return:%zu", __func__, kMaxAppendSize);
    return static_cast<int32_t>(kMaxAppendSize);
}

Return<int32_t> HeadphoneVirtualizer::append(int32_t bufferHandle, const hidl_vec<uint8_t>& data) {
    const std::lock_guard lock(virtualizerLock);
    logDebug(kLogTag, "[%s] start. handle=%d", __func__, bufferHandle);
    int32_t result = kHandleNotFound;
    if (aud_hv_parameter* slot = getParamFromHandle(bufferHandle); slot != nullptr) {
        logKind(__func__, *slot);
        if (data.size() > kMaxAppendSize) {
            logError(kLogTag, "[%s] data size error. max append size=%zu, append size=%zu", __func__,
                     kMaxAppendSize, data.size());
            return kSizeError;
        }
        result = appendInt(slot, data.data(), data.size());
    }
    logDebug(kLogTag, "[%s] end. Return:%d", __func__, result);
    return result;
}

Return<int32_t> HeadphoneVirtualizer::apply(int32_t bufferHandle,
                                            const sp<IHeadphoneVirtualizerCallback>& callback) {
    const std::lock_guard lock(virtualizerLock);
    logDebug(kLogTag, "[%s] start. handle:%d", __func__, bufferHandle);
    aud_hv_parameter* const slot = getParamFromHandle(bufferHandle);
    if (slot == nullptr) return kHandleNotFound;
    logKind(__func__, *slot);
    if (const int32_t result = checkDataSize(slot); result != kSuccess) return result;
    if (isUploading(*slot) || isWindingDown(*slot)) {
        logWarning(kLogTag, "[%s] HIDL is waiting or BeCtrl is transferring!!", __func__);
        return kBusy;
    }
    if (const int32_t result = checkResuming(); result != kSuccess) return result;
    if (callback == nullptr) {
        logError(kLogTag, "[%s] callback object is nullptr.", __func__);
        return kNotSupported;
    }
    slot->callback = callback;
    if (!startTransfer(*slot)) {
        logError(kLogTag, "[%s] paramTransferThread create Failed.", __func__);
        return kNotSupported;
    }
    logDebug(kLogTag, "[%s] end. Return:%d", __func__, kSuccess);
    return kSuccess;
}

Return<int32_t> HeadphoneVirtualizer::cancel(int32_t bufferHandle) {
    const std::lock_guard lock(virtualizerLock);
    logDebug(kLogTag, "[%s] start. handle=%d", __func__, bufferHandle);
    int32_t result = kHandleNotFound;
    if (aud_hv_parameter* slot = getParamFromHandle(bufferHandle); slot != nullptr) {
        logKind(__func__, *slot);
        result = cancelInt(*slot);
    }
    logDebug(kLogTag, "[%s] end. Return:%d", __func__, result);
    return result;
}

Return<void> HeadphoneVirtualizer::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    platform::writeDump(fd, options, [this]() -> platform::ServiceState {
        const std::lock_guard lock(virtualizerLock);
        return {"HeadphoneVirtualizer",
                {{"settings",
                  {platform::yesNo("supported", hrtfSupported_),
                   platform::yesNo("virtualizer", switches_[kVirtualizer]),
                   platform::yesNo("upmix", switches_[kUpmix]), platform::text("type", kType)}},
                 {"device_buffer", describeSlot(ParamType::DEVICE)},
                 {"hrtf_buffer", describeSlot(ParamType::HRTF)}}};
    });
    return Void();
}

int32_t HeadphoneVirtualizer::setSwitch(const char* function, Switch which, bool enable) {
    constexpr uint8_t kCommands[kSwitches] = {platform::BECTRL_SPEC_HV_ENABLE,
                                              platform::BECTRL_SPEC_HV_UPMIX};
    logDebug(kLogTag, "[%s] start. enable:%d", function, enable);
    if (!hrtfSupported_) {
        logError(kLogTag, "[%s] end. HRTF is not supported. Return:%d", function, kNotSupported);
        return kNotSupported;
    }
    int32_t result = awaitSetEnabledToBeCtrl();
    if (result == 0) {
        // Sent and stored under one lock, so that the stored value is the last one sent, also if two threads
        // set the switch.
        const std::lock_guard lock(virtualizerLock);
        result = setEnabledToBeCtrl(kCommands[which], enable);
        if (result == 0) switches_[which] = enable;
    }
    if (result != 0) logError(kLogTag, "[%s] Notification to BeCtrl failed.", function);
    logDebug(kLogTag, "[%s] end. Return:%d", function, result);
    return result;
}

bool HeadphoneVirtualizer::getSwitch(const char* function, Switch which) {
    logDebug(kLogTag, "[%s] start", function);
    if (!hrtfSupported_) {
        logError(kLogTag, "[%s] end. HRTF is not supported.", function);
        return false;
    }
    const std::lock_guard lock(virtualizerLock);
    logDebug(kLogTag, "[%s] end. Return:%d", function, switches_[which]);
    return switches_[which];
}

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
