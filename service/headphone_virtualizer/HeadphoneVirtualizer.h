// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>

#include "virtualizer_lock.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using headphone_virtualizer::virtualizerLock;
using V5_0::IHeadphoneVirtualizerCallback;
using V5_0::ParamType;

/**
 * The headphone virtualizer. The interface describes the methods. The object holds the switches as the
 * controller last accepted them. The buffers belong to the process, since the controller has room for only
 * one of each kind. Any thread: a client may call from inside its callback, on a transfer thread, while the
 * main thread serves other clients.
 */
class HeadphoneVirtualizer : public IHeadphoneVirtualizer {
  public:
    /**
     * Reads whether the TV has a back-end controller, and waits until that has booted. May block for
     * 35 s; failures are logged. Main thread.
     */
    HeadphoneVirtualizer();

    Return<int32_t> setVirtualizerEnabled(bool enable) override;
    Return<bool> getVirtualizerEnabled() override;
    Return<int32_t> setVirtualizerType(const hidl_string& type) override;
    Return<void> getVirtualizerType(getVirtualizerType_cb _hidl_cb) override;
    Return<void> getAvailableVirtualizerTypes(getAvailableVirtualizerTypes_cb _hidl_cb) override;
    Return<int32_t> setUpmixEnabled(bool enable) override;
    Return<bool> getUpmixEnabled() override;
    Return<int32_t> allocateParameterBuffer(ParamType type, int32_t size) override;
    Return<int32_t> discardParameterBuffer(int32_t bufferHandle) override;
    Return<int32_t> getMaxAppendSize() override;
    Return<int32_t> append(int32_t bufferHandle, const hidl_vec<uint8_t>& data) override;
    Return<int32_t> apply(int32_t bufferHandle, const sp<IHeadphoneVirtualizerCallback>& callback) override;
    Return<int32_t> cancel(int32_t bufferHandle) override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;

  private:
    enum Switch : uint8_t { kVirtualizer, kUpmix, kSwitches };

    int32_t setSwitch(const char* function, Switch which, bool enable);
    bool getSwitch(const char* function, Switch which);

    bool hrtfSupported_ = false;  // constant once the object is constructed
    bool switches_[kSwitches] GUARDED_BY(virtualizerLock) = {false, true};
};

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
