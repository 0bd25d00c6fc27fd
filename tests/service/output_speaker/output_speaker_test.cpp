// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/kernel/clock/clock.h"
#include "host/kernel/log.h"
#include "output_speaker/OutputSpeaker.h"
#include "tests/support/fake_hal.h"
#include "tests/support/own_process.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio;
using testing::ElementsAre;
using testing::IsEmpty;
using V6_1::IOutputSpeaker;

class OutputSpeaker : public testing::Test {
  protected:
    OutputSpeaker() {
        makeFile(marker_);
        store("tv_position", 1);
    }

    /** Constructs the service, as the daemon does at start. */
    static sp<IOutputSpeaker> start() { return new V6_1::implementation::OutputSpeaker; }

    std::string fileOf(const std::string& key) const { return tv_ / "soc/config/g_audio__" + key; }
    void store(const std::string& key, int value) { makeFile(fileOf(key), std::to_string(value) + "\n"); }
    void fail(const std::string& function, const std::string& fault) {
        makeFile(tv_ / "soc/faults/" + function, fault);
    }

    PrivateTv tv_{"soc/faults"};
    const host::LogCapture log_;
    const std::string marker_ = tv_ / "data/vendor/tmp/dtv_svc_is_ready";
};

TEST_F(OutputSpeaker, SendsPositionToHalAtStart) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        for (const auto& [stored, sent] : {std::pair(0, "table_top"), {1, "wall_mount"}}) {
            store("tv_position", stored);
            start();
            EXPECT_THAT(hal->device->take(), ElementsAre(std::string("tv_position=") + sent));
            hal->device->result = Result::NOT_SUPPORTED;  // the HAL's result is ignored
        }
        for (const int stored : {5, -1}) {
            store("tv_position", stored);
            start();
        }
        fail("MTAL_InitExCb", "-5 1\n");
        fail("a_mtktvapi_config_get_value", "-7 1\n");
        start();
        EXPECT_THAT(hal->device->take(), IsEmpty());
    });
}

TEST_F(OutputSpeaker, StoresPositionAndSendsItToHal) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        const sp<IOutputSpeaker> service = start();
        hal->device->take();
        for (const auto& [type, stored, sent] : {std::tuple(0, "0\n", "table_top"),
                                                 {1, "1\n", "wall_mount"},
                                                 {7, "0\n", "table_top"},
                                                 {1, "1\n", "wall_mount"},
                                                 {-1, "0\n", "table_top"}}) {
            EXPECT_EQ(service->setTvPosition(type), 0);
            EXPECT_EQ(contentOf(fileOf("tv_position")), stored);
            EXPECT_THAT(hal->device->take(), ElementsAre(std::string("tv_position=") + sent));
        }
        hal->device->result = Result::INVALID_ARGUMENTS;
        fail("a_mtktvapi_config_set_value", "-6\n");
        EXPECT_EQ(service->setTvPosition(1), -6);
        EXPECT_THAT(hal->device->take(), ElementsAre("tv_position=wall_mount"));
        EXPECT_EQ(contentOf(fileOf("tv_position")), "0\n");
    });
}

TEST_F(OutputSpeaker, WorksWithoutHalOrReadyTv) {
    inOwnProcess([&] {
        std::filesystem::remove(marker_);
        const host::SteppedClock clock;
        const sp<IOutputSpeaker> service = start();
        EXPECT_EQ(clock.now(), std::chrono::seconds(20));
        const sp<FakeHal> hal = FakeHal::start();  // the service looks for the HAL only at start
        EXPECT_EQ(service->setTvPosition(0), 0);
        EXPECT_EQ(contentOf(fileOf("tv_position")), "0\n");
        EXPECT_EQ(hal->opens, 0);
        EXPECT_THAT(hal->device->take(), IsEmpty());
    });
}

TEST_F(OutputSpeaker, ReturnsStoredPosition) {
    inOwnProcess([&] {
        const sp<IOutputSpeaker> service = start();
        for (const auto& [stored, position] : {std::pair(0, 0), {1, 1}, {2, 0}, {-1, 0}}) {
            store("tv_position", stored);
            EXPECT_EQ(service->getTvPosition(), static_cast<V3_1::TvPositionType>(position));
        }
        store("tv_position", 1);
        fail("a_mtktvapi_config_get_value", "-7\n");
        EXPECT_EQ(service->getTvPosition(), V3_1::TvPositionType::TABLE_TOP);
    });
}

TEST_F(OutputSpeaker, ReturnsSurroundType) {
    inOwnProcess([&] {
        const sp<IOutputSpeaker> service = start();
        for (const auto& [type, speaker, answer] :
             {std::tuple(0, 0, 0), {1, 0, 1}, {2, 0, 2}, {3, 0, 0}, {2, 1, 0}, {2, 2, 2}}) {
            store("spk_sur_type", type);
            store("aud_speaker", speaker);
            EXPECT_EQ(service->getSurroundType(), static_cast<V2_0::SurroundType>(answer)) << type << speaker;
        }
        std::filesystem::remove(fileOf("aud_speaker"));
        EXPECT_EQ(service->getSurroundType(), V2_0::SurroundType::TYPE_2);
        fail("a_mtktvapi_config_get_value", "-7 1\n");
        EXPECT_EQ(service->getSurroundType(), V2_0::SurroundType::NONE);
    });
}

}  // namespace
}  // namespace hidlaudio::test
