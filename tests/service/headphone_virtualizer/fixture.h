// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "headphone_virtualizer/HeadphoneVirtualizer.h"
#include "host/kernel/clock/clock.h"
#include "host/kernel/faults/faults.h"
#include "tests/support/back_end_tv.h"
#include "tests/support/log_text.h"

namespace hidlaudio::test {

using namespace com::tovi::dtv::hardware::audio;
using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using host::UploadKind;
using testing::Contains;
using testing::ElementsAre;
using V5_0::ParamType;

constexpr int32_t kNoResult = 99;

/** A client's callback that records the results it receives. */
class Callback : public V5_0::IHeadphoneVirtualizerCallback {
  public:
    Return<void> onApplyResult(int32_t result) override {
        if (inside_) inside_(result);
        std::unique_lock lock(mutex_);
        results_.push_back(result);
        changed_.notify_all();
        changed_.wait(lock, [&] { return !held_; });
        if (dead_) return android::hardware::Status::fromStatusT(android::DEAD_OBJECT);
        return android::hardware::Void();
    }

    /** Waits for the first result and returns it, or kNoResult after 30 s. */
    int32_t await() {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(30), [&] { return !results_.empty(); });
        return results_.empty() ? kNoResult : results_[0];
    }

    std::vector<int32_t> results() {
        const std::lock_guard lock(mutex_);
        return results_;
    }

    /** Sets whether the callback blocks. */
    void hold(bool held) {
        const std::lock_guard lock(mutex_);
        held_ = held;
        changed_.notify_all();
    }

    /** Sets a function to call inside the callback. Call this before apply(). */
    void doInside(std::function<void(int32_t)> action) { inside_ = std::move(action); }

    /** Makes the callback fail as if the client had died. */
    void die() { dead_ = true; }

  private:
    std::function<void(int32_t)> inside_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<int32_t> results_;
    bool held_ = false;
    bool dead_ = false;
};

class Virtualizer : public testing::Test {
  protected:
    static constexpr char kFinished[] = "D paramTransferThread finished";

    ~Virtualizer() override {
        for (const auto type : {ParamType::DEVICE, ParamType::HRTF}) {
            EXPECT_EQ(service_->allocateParameterBuffer(type, -1), 0);
        }
    }

    std::vector<std::string> logged() { return takeText(log_, "AudioHV"); }

    /** Waits until `text` was logged `times` times. Returns all messages so far, in order. */
    std::vector<std::string> loggedUntil(const std::string& text, size_t times = 1) {
        std::vector<std::string> lines;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (static_cast<size_t>(std::count(lines.begin(), lines.end(), text)) < times) {
            if (std::chrono::steady_clock::now() > deadline) {
                ADD_FAILURE() << text << " was not logged";
                break;
            }
            for (auto& line : logged()) lines.push_back(line);
            std::this_thread::yield();
        }
        return lines;
    }

    int32_t append(int32_t handle, const std::string& bytes) {
        hidl_vec<uint8_t> data;
        data.setToExternal(reinterpret_cast<uint8_t*>(const_cast<char*>(bytes.data())), bytes.size());
        return service_->append(handle, data);
    }

    /** Allocates a buffer and fills it with `bytes`. Returns its handle. */
    int32_t fill(ParamType type, const std::string& bytes) {
        const int32_t handle = service_->allocateParameterBuffer(type, static_cast<int32_t>(bytes.size()));
        for (size_t i = 0; i < bytes.size(); i += 262144) {
            EXPECT_EQ(append(handle, bytes.substr(i, 262144)), 0);
        }
        return handle;
    }

    BackEndTv tv_;
    host::LogCapture log_;
    sp<V5_1::IHeadphoneVirtualizer> service_ = new V5_1::implementation::HeadphoneVirtualizer;
};

}  // namespace hidlaudio::test
