// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>

#include <mutex>
#include <vector>

namespace com::tovi::dtv::hardware::audio::V3_1::implementation {

using ::android::sp;
using ::android::wp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::IBase;

/**
 * The HDMI audio capabilities. The levels live in the middleware's configuration
 * store; the service keeps only the callbacks of its clients, in the order in which
 * they were registered, and drops those of a client that dies. The methods are
 * described in the interface; they run on the thread that serves all calls, as do the
 * death notices.
 */
class HdmiAudio : public IHdmiAudio, public ::android::hardware::hidl_death_recipient {
  public:
    /**
     * Waits for the TV platform service and opens the middleware. May block for 20 s;
     * what goes wrong is logged. Main thread.
     */
    HdmiAudio();

    Return<void> getAudioCapabilities(getAudioCapabilities_cb _hidl_cb) override;
    Return<int32_t> setAudioCapabilities(const hidl_vec<hidl_string>& capabilities) override;
    Return<void> setCallback(const sp<V1_1::IHdmiAudioCallback>& callback) override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;

    /** A client has died. Touches nothing where `who` is gone as well. */
    void serviceDied(uint64_t cookie, const wp<IBase>& who) override;

  private:
    using Callbacks = std::vector<sp<V1_1::IHdmiAudioCallback>>;

    Callbacks callbacks();
    void notify(const hidl_vec<hidl_string>& applied);
    void removeCallback(const sp<IBase>& who);

    std::mutex mMutex;
    Callbacks mCallbacks GUARDED_BY(mMutex);  // one that was registered twice is there twice
};

}  // namespace com::tovi::dtv::hardware::audio::V3_1::implementation
