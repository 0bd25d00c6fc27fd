// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/4.0/ICenterSpeaker.h>

#include "support/options.h"
#include "support/services.h"

namespace tovi_audio_vts {
namespace {

using namespace ::com::tovi::dtv::hardware::audio;

/** All properties, which are constant while the service runs. */
struct Properties {
    std::vector<int16_t> types;
    int32_t samplingRate;
    int32_t samples;
    bool input;
    bool synchronized;

    bool operator==(const Properties& other) const {
        return types == other.types && samplingRate == other.samplingRate && samples == other.samples &&
               input == other.input && synchronized == other.synchronized;
    }
};

class CenterSpeaker : public ::testing::TestWithParam<Instance<V4_0::ICenterSpeaker>> {
  protected:
    void SetUp() override {
        service_ = GetParam().get(GetParam().name);
        ASSERT_NE(service_, nullptr);
    }

    Properties read() const {
        const auto latency = resultOf<V4_0::SampleLatency>(
            [&](auto callback) { return service_->getCenterSpeakerLatency(callback); });
        const auto types = resultOf<hidl_vec<int16_t>>(
            [&](auto callback) { return service_->getCenterSpeakerAcousticsType(callback); });
        return {types, latency.samplingRate, latency.samples,
                valueOf(service_->isCenterSpeakerInputAvailable()),
                valueOf(service_->isSynchronizedCenterSpeakerInputAvailable())};
    }

    sp<V4_0::ICenterSpeaker> service_;
};

TEST_P(CenterSpeaker, getCenterSpeakerAcousticsType_IsOneByte) {
    const Properties properties = read();
    ASSERT_EQ(properties.types.size(), 1u);
    EXPECT_GE(properties.types[0], 0);
    EXPECT_LE(properties.types[0], 255);
}

TEST_P(CenterSpeaker, getCenterSpeakerLatency_IsAt48000Hz) {
    EXPECT_EQ(read().samplingRate, 48000);
}

// Both inputs are properties of the model, so only their constancy can be tested.
TEST_P(CenterSpeaker, isCenterSpeakerInputAvailable_AndAllOthersStayTheSame) {
    const Properties first = read();
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(read() == first);
}

TEST_P(CenterSpeaker, isSynchronizedCenterSpeakerInputAvailable_AndAllOthersSurviveRestart) {
    SKIP_WITHOUT_RESTART();
    const Properties before = read();
    service_ = restart(GetParam(), service_);
    ASSERT_NE(service_, nullptr);
    EXPECT_TRUE(read() == before);
}

INSTANTIATE(ICenterSpeaker, CenterSpeaker, V4_0::ICenterSpeaker);

}  // namespace
}  // namespace tovi_audio_vts
