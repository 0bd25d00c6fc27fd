// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/4.0/ICenterSpeaker.h>
#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>
#include <com/tovi/dtv/hardware/audio/6.1/IOutputSpeaker.h>

#include <string>

namespace hidlaudio::test {

namespace audio = com::tovi::dtv::hardware::audio;
using android::hardware::Return;

/** Takes every position but 99, and has that for its surround type. */
struct FakeSpeaker : audio::V6_1::IOutputSpeaker {
    int32_t position = 0;

    Return<audio::V2_0::SurroundType> getSurroundType() override {
        return static_cast<audio::V2_0::SurroundType>(position);
    }
    Return<audio::V3_1::TvPositionType> getTvPosition() override {
        return static_cast<audio::V3_1::TvPositionType>(position);
    }
    Return<int32_t> setTvPosition(int32_t type) override {
        if (type == 99) return -7;
        position = type;
        return 0;
    }
    Return<float> getDelay() override { return 4294967296.0F; }
};

/** Has two microphones; that named "b" refuses. */
struct FakeMic : audio::V6_1::IMicControl {
    using String = android::hardware::hidl_string;
    float gain = 0;

    Return<int32_t> setMicGain(const String& device, float scale) override {
        if (device == "b") return -1;
        gain = scale;
        return 0;
    }
    Return<float> getMicGain(const String& device) override { return device == "b" ? 1.0F : gain; }
    Return<void> getMicDevices(getMicDevices_cb callback) override {
        callback({"AUDIO_DEVICE_IN_BUILTIN_MIC", "b"});
        return android::hardware::Void();
    }
};

struct FakeCenter : audio::V4_0::ICenterSpeaker {
    Return<void> getCenterSpeakerAcousticsType(getCenterSpeakerAcousticsType_cb callback) override {
        callback({7, 300});
        return android::hardware::Void();
    }
    Return<void> getCenterSpeakerLatency(getCenterSpeakerLatency_cb callback) override {
        callback({48000, -5});
        return android::hardware::Void();
    }
    Return<bool> isCenterSpeakerInputAvailable() override { return true; }
    Return<bool> isSynchronizedCenterSpeakerInputAvailable() override { return false; }
};

}  // namespace hidlaudio::test
