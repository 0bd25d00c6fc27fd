// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <com/tovi/dtv/hardware/audio/5.0/IHeadphoneVirtualizerCallback.h>
#include <hidl/HidlSupport.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace hidlaudio::client {

/** Receives the result of an upload, or the notice that its service has died. Thread-safe. */
class ApplyResult : public com::tovi::dtv::hardware::audio::V5_0::IHeadphoneVirtualizerCallback,
                    public android::hardware::hidl_death_recipient {
  public:
    using Time = std::chrono::steady_clock::time_point;

    android::hardware::Return<void> onApplyResult(int32_t result) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!result_) result_ = result;
        changed_.notify_all();
        return android::hardware::Void();
    }

    void serviceDied(uint64_t, const android::wp<android::hidl::base::V1_0::IBase>&) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        died_ = true;
        changed_.notify_all();
    }

    /** Blocks until the upload or its service has ended. Returns false if `end` is reached before. */
    bool wait(Time end) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_until(lock, end, [this]() REQUIRES(mutex_) { return result_ || died_; });
    }

    /** Returns the result of the upload, or `std::nullopt` if the service has not reported one. */
    std::optional<int32_t> result() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return result_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<int32_t> result_ GUARDED_BY(mutex_);
    bool died_ GUARDED_BY(mutex_) = false;
};

}  // namespace hidlaudio::client
