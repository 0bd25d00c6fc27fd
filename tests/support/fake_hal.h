// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IDevicesFactory.h>
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace hidlaudio::test {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using android::hardware::audio::V5_0::IDevicesFactory;
using android::hardware::audio::V5_0::IPrimaryDevice;
using android::hardware::audio::V5_0::ParameterValue;
using android::hardware::audio::V5_0::Result;

/** A primary device that records its calls, and returns `result` and `answer`. */
struct FakeDevice : IPrimaryDevice {
    Result result = Result::OK;
    hidl_vec<ParameterValue> answer;
    std::vector<std::string> calls;  // "key=value" or "key?"; starts with "context " if a context was given

    Return<void> getParameters(const hidl_vec<ParameterValue>& context, const hidl_vec<hidl_string>& keys,
                               getParameters_cb callback) override {
        for (const hidl_string& key : keys) note(context, std::string(key) + "?");
        callback(result, answer);
        return Void();
    }
    Return<Result> setParameters(const hidl_vec<ParameterValue>& context,
                                 const hidl_vec<ParameterValue>& parameters) override {
        for (const auto& [key, value] : parameters) note(context, std::string(key) + "=" + value.c_str());
        return result;
    }

    std::vector<std::string> take() { return std::exchange(calls, {}); }

  private:
    void note(const hidl_vec<ParameterValue>& context, const std::string& call) {
        calls.push_back((context.size() != 0 ? "context " : "") + call);
    }
};

/** An audio HAL in the test's process. */
struct FakeHal : IDevicesFactory {
    sp<FakeDevice> device = new FakeDevice;
    Result result = Result::OK;
    int opens = 0;
    std::function<void()> onOpen = [] {};

    Return<void> openPrimaryDevice(openPrimaryDevice_cb callback) override {
        ++opens;
        onOpen();
        callback(result, device);
        return Void();
    }

    /** Creates and registers an audio HAL; replaces one that was registered before. */
    static sp<FakeHal> start() {
        sp<FakeHal> hal = new FakeHal;
        EXPECT_EQ(hal->registerAsService("default"), android::OK);
        return hal;
    }
};

}  // namespace hidlaudio::test
