// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IDevicesFactory.h>
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

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

/** A primary device that keeps what it was given and answers what it was told to. */
struct FakeDevice : IPrimaryDevice {
    Result result = Result::OK;
    hidl_vec<ParameterValue> answer;
    std::vector<std::string> calls;  // "key=value" or "key?", with "context " before where there was one

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

/** An audio HAL in the test's own process, or the one that a HalProcess serves. */
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

    /** A new one, registered in place of any other. */
    static sp<FakeHal> start() {
        sp<FakeHal> hal = new FakeHal;
        EXPECT_EQ(hal->registerAsService("default"), android::OK);
        return hal;
    }
};

/** An audio HAL in a process of its own, registered when the constructor returns; see inOwnProcess(). */
class HalProcess {
  public:
    explicit HalProcess(const std::function<void()>& onOpen = [] {}) {
        int ready[2];
        if (pipe(ready) != 0) abort();
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const sp<FakeHal> hal = FakeHal::start();
            hal->onOpen = onOpen;
            android::hardware::configureRpcThreadpool(1, true);
            if (write(ready[1], "", 1) == 1) android::hardware::joinRpcThreadpool();
            _exit(1);
        }
        close(ready[1]);
        char byte = 0;
        EXPECT_EQ(read(ready[0], &byte, 1), 1);
        close(ready[0]);
    }
    ~HalProcess() {
        kill();
        waitpid(pid_, nullptr, 0);
    }
    HalProcess(const HalProcess&) = delete;
    HalProcess& operator=(const HalProcess&) = delete;

    /** From the test's process, or the one of a body. */
    void kill() const { ::kill(pid_, SIGKILL); }

  private:
    pid_t pid_;
};

}  // namespace hidlaudio::test
