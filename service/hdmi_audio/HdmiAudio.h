// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>

#include <mutex>

#include "callback_list.h"

namespace com::tovi::dtv::hardware::audio::V3_1::implementation {

using ::android::sp;
using ::android::wp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::IBase;

/**
 * The HDMI audio capabilities. The middleware's configuration store keeps the levels. The service keeps
 * only the callbacks of its clients, in the order of registration, and drops the callbacks of a client
 * that dies. The interface describes the methods. Any thread.
 */
class HdmiAudio : public IHdmiAudio, public ::android::hardware::hidl_death_recipient {
  public:
    /**
     * Waits for the TV platform service and opens the middleware. May block for 20 s;
     * failures are logged. Main thread.
     */
    HdmiAudio();

    Return<void> getAudioCapabilities(getAudioCapabilities_cb _hidl_cb) override;
    Return<int32_t> setAudioCapabilities(const hidl_vec<hidl_string>& capabilities) override;
    Return<void> setCallback(const sp<V1_1::IHdmiAudioCallback>& callback) override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;

    /** Drops the callback `who`, whose process has died. Does nothing if `who` was destroyed already. */
    void serviceDied(uint64_t cookie, const wp<IBase>& who) override;

  private:
    void notify(const hidl_vec<hidl_string>& applied);
    void removeCallback(const sp<IBase>& who);

    std::mutex mutex_;
    hdmi_audio::CallbackList callbacks_ GUARDED_BY(mutex_);
};

}  // namespace com::tovi::dtv::hardware::audio::V3_1::implementation
