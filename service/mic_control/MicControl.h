// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>

namespace com::tovi::dtv::hardware::audio::V6_1::implementation {

using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;

/**
 * The gain of the built-in microphone, which the audio HAL keeps. The object holds no state; the HAL device
 * belongs to the process. The interface describes the methods. Any thread.
 */
class MicControl : public IMicControl {
  public:
    /** Opens the audio HAL. If that fails, no gain can be set or read until the next start. Main thread. */
    MicControl();

    Return<int32_t> setMicGain(const hidl_string& micDevice, float scale) override;
    Return<float> getMicGain(const hidl_string& micDevice) override;
    Return<void> getMicDevices(getMicDevices_cb _hidl_cb) override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;
};

}  // namespace com::tovi::dtv::hardware::audio::V6_1::implementation
