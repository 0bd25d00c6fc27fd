// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>
#include <math.h>

#include "support/options.h"
#include "support/services.h"

namespace tovi_audio_vts {
namespace {

using namespace ::com::tovi::dtv::hardware::audio;

constexpr char kMicrophone[] = "AUDIO_DEVICE_IN_BUILTIN_MIC";
constexpr float kPrecision = 0.005f;  // the HAL may store the gain in coarse steps

class MicControl : public ::testing::TestWithParam<Instance<V6_0::IMicControl>> {
  protected:
    void SetUp() override {
        service_ = GetParam().get(GetParam().name);
        ASSERT_NE(service_, nullptr);
        before_ = gain();
        hasHal_ = set(before_) == 0;
    }
    void TearDown() override {
        if (service_ != nullptr && hasHal_) {
            EXPECT_EQ(set(before_), 0);
        }
    }

    int32_t set(float scale, const std::string& device = kMicrophone) const {
        return valueOf(service_->setMicGain(device, scale));
    }
    float gain(const std::string& device = kMicrophone) const {
        return valueOf(service_->getMicGain(device));
    }

    sp<V6_0::IMicControl> service_;
    float before_ = 0.0f;
    bool hasHal_ = false;
};

#define SKIP_WITHOUT_HAL() \
    if (!hasHal_) GTEST_SKIP() << "the audio HAL is missing, or accepts no gain"

TEST_P(MicControl, getMicDevices_IsTheBuiltInMicrophone) {
    EXPECT_EQ(namesOf([&](auto callback) { return service_->getMicDevices(callback); }), Names{kMicrophone});
}

TEST_P(MicControl, setMicGain_AcceptsWholeRange) {
    SKIP_WITHOUT_HAL();
    for (const float scale : {0.0f, 1.0f, 0.5f, 0.25f, 0.13f, 0.0f}) {
        EXPECT_EQ(set(scale), 0) << scale;
        EXPECT_NEAR(gain(), scale, kPrecision);
    }
}

TEST_P(MicControl, setMicGain_RefusesScaleOutOfRange) {
    if (hasHal_) {
        EXPECT_EQ(set(0.5f), 0);
    }
    for (const float scale :
         {nextafterf(0, -1), nextafterf(1, 2), -0.5f, 1.5f, 100.0f, -INFINITY, INFINITY}) {
        EXPECT_EQ(set(scale), -1) << scale;
    }
    if (hasHal_) {
        EXPECT_NEAR(gain(), 0.5f, kPrecision);
    }
}

TEST_P(MicControl, setMicGain_RefusesUnknownDevices) {
    if (hasHal_) {
        EXPECT_EQ(set(0.5f), 0);
    }
    for (const std::string device :
         {"AUDIO_DEVICE_IN_WIRED_HEADSET", "AUDIO_DEVICE_IN_BUILTIN_MIC2", "audio_device_in_builtin_mic"}) {
        EXPECT_EQ(set(0.75f, device), -1) << device;
    }
    if (hasHal_) {
        EXPECT_NEAR(gain(), 0.5f, kPrecision);
    }
}

TEST_P(MicControl, getMicGain_IsZeroForUnknownDevices) {
    if (hasHal_) {
        EXPECT_EQ(set(0.5f), 0);
    }
    EXPECT_EQ(gain("AUDIO_DEVICE_IN_WIRED_HEADSET"), 0.0f);
    EXPECT_EQ(gain("AUDIO_DEVICE_IN_BUILTIN_MIC2"), 0.0f);
}

TEST_P(MicControl, Restart_KeepsGain) {
    SKIP_WITHOUT_RESTART();
    SKIP_WITHOUT_HAL();
    EXPECT_EQ(set(0.25f), 0);
    service_ = restart(GetParam(), service_);
    ASSERT_NE(service_, nullptr);
    EXPECT_NEAR(gain(), 0.25f, kPrecision);
}

INSTANTIATE(IMicControl, MicControl, V6_0::IMicControl, V6_1::IMicControl);

}  // namespace
}  // namespace tovi_audio_vts
