// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using V5_0::IHeadphoneVirtualizerCallback;
using V5_0::ParamType;

/**
 * The headphone virtualizer. The methods are described in the interface; they run on the
 * thread that serves all calls. The switches are as the controller last accepted them
 * and start anew with the object; the buffers are the process's, since the controller
 * has room for one of each kind.
 */
class HeadphoneVirtualizer : public IHeadphoneVirtualizer {
  public:
    /**
     * Finds out whether the TV has a back-end controller, and waits until that has
     * booted. May block for 35 s; what goes wrong is logged. Main thread.
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
    int32_t setSwitch(const char* function, uint8_t command, bool enable, bool& stored) const;
    bool getSwitch(const char* function, bool stored) const;

    bool hrtfSupported_ = false;
    bool virtualizerEnabled_ = false;
    bool upmixEnabled_ = true;
};

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
