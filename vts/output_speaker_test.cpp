// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/6.1/IOutputSpeaker.h>
#include <limits.h>
#include <math.h>

#include "support/options.h"
#include "support/services.h"

namespace tovi_audio_vts {
namespace {

using namespace ::com::tovi::dtv::hardware::audio;
using V2_0::SurroundType;
using V3_1::TvPositionType;

class OutputSpeaker : public ::testing::TestWithParam<Instance<V2_0::IOutputSpeaker>> {
  protected:
    void SetUp() override {
        service_ = GetParam().get(GetParam().name);
        ASSERT_NE(service_, nullptr);
        if (withPosition() != nullptr) before_ = position();
    }
    void TearDown() override {
        if (service_ != nullptr && withPosition() != nullptr) {
            EXPECT_EQ(setPosition(before_), 0);
        }
    }

    sp<V3_1::IOutputSpeaker> withPosition() const {
        const Return<sp<V3_1::IOutputSpeaker>> newer = V3_1::IOutputSpeaker::castFrom(service_);
        return newer.isOk() ? sp<V3_1::IOutputSpeaker>(newer) : nullptr;
    }
    TvPositionType position() const { return valueOf(withPosition()->getTvPosition()); }
    int32_t setPosition(TvPositionType type) const {
        return valueOf(withPosition()->setTvPosition(static_cast<int32_t>(type)));
    }

    sp<V2_0::IOutputSpeaker> service_;
    TvPositionType before_ = TvPositionType::TABLE_TOP;
};

/** Skips a test if the service is older than the version that has the method. */
#define SKIP_IF_OLDER(service) \
    if ((service) == nullptr) GTEST_SKIP() << "the service is older than the method"

TEST_P(OutputSpeaker, getSurroundType_IsAKnownType) {
    const SurroundType type = valueOf(service_->getSurroundType());
    EXPECT_TRUE(type == SurroundType::NONE || type == SurroundType::TYPE_1 || type == SurroundType::TYPE_2)
        << static_cast<int32_t>(type);
}

TEST_P(OutputSpeaker, getTvPosition_IsAKnownPosition) {
    SKIP_IF_OLDER(withPosition());
    EXPECT_TRUE(position() == TvPositionType::TABLE_TOP || position() == TvPositionType::WALL_MOUNT);
}

TEST_P(OutputSpeaker, setTvPosition_StoresBothPositions) {
    SKIP_IF_OLDER(withPosition());
    using Type = TvPositionType;
    for (const Type type : {Type::WALL_MOUNT, Type::TABLE_TOP, Type::TABLE_TOP, Type::WALL_MOUNT}) {
        EXPECT_EQ(setPosition(type), 0);
        EXPECT_EQ(position(), type);
    }
}

TEST_P(OutputSpeaker, setTvPosition_CountsOtherNumbersAsTableTop) {
    SKIP_IF_OLDER(withPosition());
    for (const int32_t number : {2, -1, 256, 257, INT_MAX, INT_MIN}) {
        EXPECT_EQ(setPosition(TvPositionType::WALL_MOUNT), 0);
        EXPECT_EQ(valueOf(withPosition()->setTvPosition(number)), 0) << number;
        EXPECT_EQ(position(), TvPositionType::TABLE_TOP) << number;
    }
}

TEST_P(OutputSpeaker, getDelay_IsAWholeNumber) {
    const Return<sp<V6_1::IOutputSpeaker>> cast = V6_1::IOutputSpeaker::castFrom(service_);
    ASSERT_TRUE(cast.isOk());
    const sp<V6_1::IOutputSpeaker> newest = cast;
    SKIP_IF_OLDER(newest);
    const float delay = valueOf(newest->getDelay());
    EXPECT_GE(delay, 0.0f);
    EXPECT_LE(delay, 4294967296.0f);
    EXPECT_EQ(delay, floorf(delay));
}

TEST_P(OutputSpeaker, Restart_KeepsPosition) {
    SKIP_WITHOUT_RESTART();
    SKIP_IF_OLDER(withPosition());
    const TvPositionType other =
        before_ == TvPositionType::TABLE_TOP ? TvPositionType::WALL_MOUNT : TvPositionType::TABLE_TOP;
    EXPECT_EQ(setPosition(other), 0);
    service_ = restart(GetParam(), service_);
    ASSERT_NE(service_, nullptr);
    EXPECT_EQ(position(), other);
}

INSTANTIATE(IOutputSpeaker, OutputSpeaker, V2_0::IOutputSpeaker, V3_1::IOutputSpeaker, V6_1::IOutputSpeaker);

}  // namespace
}  // namespace tovi_audio_vts
