// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/1.1/IHdmiAudioCallback.h>

#include <list>
#include <unordered_map>
#include <vector>

namespace com::tovi::dtv::hardware::audio::hdmi_audio {

/**
 * Callbacks in the order in which they were added; one that is added twice is there twice. A
 * client may register thousands, and each of them is removed by a death notice of its own, so
 * that adding and removing take the same time however many there are. One thread at a time.
 */
class CallbackList {
  public:
    using Callback = ::android::sp<V1_1::IHdmiAudioCallback>;

    bool empty() const { return callbacks_.empty(); }
    size_t size() const { return callbacks_.size(); }
    std::vector<Callback> copy() const { return {callbacks_.begin(), callbacks_.end()}; }

    /** Adds a callback, which must not be null. */
    void add(const Callback& callback);

    /** Removes each entry of the same object as `who`. Returns the number of entries removed. */
    size_t remove(const ::android::sp<::android::hidl::base::V1_0::IBase>& who);

  private:
    using Entry = std::list<Callback>::iterator;

    std::list<Callback> callbacks_;
    std::unordered_map<const void*, std::vector<Entry>> byObject_;
};

}  // namespace com::tovi::dtv::hardware::audio::hdmi_audio
