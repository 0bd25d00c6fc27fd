// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>

#include "tests/host/hidl/probe.h"

namespace hidlaudio::fuzz {

/** Returns whether a method of the probe is oneway: note() and takeBytes() are. */
constexpr bool isOneway(uint32_t code) {
    return code == 10 || code == 14;
}

/** A probe whose methods neither wait nor start threads nor abort the process. */
struct EchoProbe : test::Probe {
    static constexpr uint32_t kMaxMade = 40'000;  // does not fit a packet

    EchoProbe() : test::Probe(1) {}

    android::hardware::Return<int32_t> add(int32_t a, int32_t b) override {
        return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
    }
    android::hardware::Return<void> note(int32_t, const test::hidl_handle&) override { return {}; }
    android::hardware::Return<void> wait(int32_t, const test::hidl_handle&) override { return {}; }
    android::hardware::Return<void> answerThenWait(const test::hidl_handle&, answerThenWait_cb cb) override {
        cb("early");
        return {};
    }
    android::hardware::Return<void> callBackFromThread(const test::hidl_handle&) override { return {}; }
    android::hardware::Return<void> answerTimes(uint32_t, answerTimes_cb cb) override {
        cb("once");
        return {};
    }
    android::hardware::Return<int32_t> returnError() override { return 0; }
    android::hardware::Return<int32_t> registerAnother(const test::hidl_string&, uint32_t) override {
        return 0;
    }
    android::hardware::Return<void> makeBytes(uint32_t size, makeBytes_cb cb) override {
        return Probe::makeBytes(size % kMaxMade, cb);
    }
    android::hardware::Return<void> makeText(uint32_t size, makeText_cb cb) override {
        return Probe::makeText(size % kMaxMade, cb);
    }
};

/** Stores the values that it receives and returns them. */
struct EchoCalibration : com::tovi::dtv::hardware::audio::V5_1::IAcousticCalibration {
    using Data = com::tovi::dtv::hardware::audio::V3_0::calibratedData;

    android::hardware::hidl_vec<Data> stored;
    android::hardware::hidl_vec<float> delays;

    android::hardware::Return<int32_t> setEnabled(bool enable) override { return enable ? 1 : 0; }
    android::hardware::Return<bool> getEnabled() override { return true; }
    android::hardware::Return<int32_t> setCalibratedData(
        const android::hardware::hidl_vec<Data>& data) override {
        stored = data;
        return 0;
    }
    android::hardware::Return<void> getCalibratedData(getCalibratedData_cb cb) override {
        cb(stored);
        return {};
    }
    android::hardware::Return<void> getCalibrationParameters(getCalibrationParameters_cb cb) override {
        cb({});
        return {};
    }
    android::hardware::Return<int32_t> setSmoothDelayEnabled(bool enable) override { return enable ? 1 : 0; }
    android::hardware::Return<bool> getSmoothDelayEnabled() override { return true; }
    android::hardware::Return<int32_t> setSmoothDelay(
        const android::hardware::hidl_vec<float>& given) override {
        delays = given;
        return 0;
    }
    android::hardware::Return<void> getSmoothDelay(getSmoothDelay_cb cb) override {
        cb(delays);
        return {};
    }
};

}  // namespace hidlaudio::fuzz
