// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/1.1/IHdmiAudioCallback.h>

#include <list>
#include <unordered_map>
#include <vector>

namespace com::tovi::dtv::hardware::audio::hdmi_audio {

/**
 * Callbacks in the order in which they were added. A callback that is added twice is listed twice. A client
 * may register thousands, each of which gets its own death notice, so adding and removing take constant
 * time. One thread at a time.
 */
class CallbackList {
  public:
    using Callback = ::android::sp<V1_1::IHdmiAudioCallback>;

    bool empty() const { return callbacks_.empty(); }
    size_t size() const { return callbacks_.size(); }
    std::vector<Callback> copy() const { return {callbacks_.begin(), callbacks_.end()}; }

    /** Adds a callback, which must not be null. */
    void add(const Callback& callback);

    /** Removes all entries of the object behind `who`. Returns the number of removed entries. */
    size_t remove(const ::android::sp<::android::hidl::base::V1_0::IBase>& who);

  private:
    using Entry = std::list<Callback>::iterator;

    std::list<Callback> callbacks_;
    std::unordered_map<const void*, std::vector<Entry>> byObject_;
};

}  // namespace com::tovi::dtv::hardware::audio::hdmi_audio
