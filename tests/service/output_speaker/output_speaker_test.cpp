// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/kernel/clock/clock.h"
#include "output_speaker/OutputSpeaker.h"
#include "tests/support/fake_hal.h"
#include "tests/support/log_text.h"
#include "tests/support/own_process.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio;
using testing::ElementsAre;
using testing::IsEmpty;
using V6_1::IOutputSpeaker;

constexpr char kStart[] = "D [OutputSpeaker] start";
constexpr char kOpened[] = "D OutputSpeaker mtal open success";
constexpr char kEnd[] = "D [OutputSpeaker] end";
constexpr char kNoHal[] = "E load audio interface failed";
constexpr char kAccessorsNoHal[] = "output_speaker_test: E load audio interface failed";

class OutputSpeaker : public testing::Test {
  protected:
    OutputSpeaker() {
        makeFile(marker_);
        store("tv_position", 1);
    }

    /** Constructs the service, as the daemon does at start. */
    static sp<IOutputSpeaker> start() { return new V6_1::implementation::OutputSpeaker; }

    /** Starts a service without HAL. Discards its log messages. */
    sp<IOutputSpeaker> started() {
        sp<IOutputSpeaker> service = start();
        log_.take();
        return service;
    }

    std::vector<std::string> logged() { return takeText(log_, "AudioOutSp"); }
    std::string fileOf(const std::string& key) const { return tv_ / "soc/config/g_audio__" + key; }
    void store(const std::string& key, int value) { makeFile(fileOf(key), std::to_string(value) + "\n"); }
    void fail(const std::string& function, const std::string& fault) {
        makeFile(tv_ / "soc/faults/" + function, fault);
    }

    PrivateTv tv_{"soc/faults"};
    host::LogCapture log_;
    const std::string marker_ = tv_ / "data/vendor/tmp/dtv_svc_is_ready";
};

TEST_F(OutputSpeaker, SendsPositionToHalAtStart) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        for (const auto& [stored, sent] : {std::pair(0, "table_top"), {1, "wall_mount"}}) {
            store("tv_position", stored);
            start();
            EXPECT_THAT(logged(),
                        ElementsAre(kStart, kOpened, "D get tv position:" + std::to_string(stored), kEnd));
            EXPECT_THAT(hal->device->take(), ElementsAre(std::string("tv_position=") + sent));
            hal->device->result = Result::NOT_SUPPORTED;  // the HAL's result is ignored
        }
        for (const int stored : {5, -1}) {
            store("tv_position", stored);
            start();
            const std::string value = std::to_string(stored);
            EXPECT_THAT(logged(),
                        ElementsAre(kStart, kOpened, "D get tv position:" + value,
                                    "E a_mtktvapi_config_get_value:Illigal value = " + value, kEnd));
        }
        fail("MTAL_InitExCb", "-5 1\n");
        fail("a_mtktvapi_config_get_value", "-7 1\n");
        start();
        EXPECT_THAT(logged(), ElementsAre(kStart, "E ERROR: OutputSpeaker MTAL_Init.... , r = -5 \n",
                                          "E a_mtktvapi_config_get_value failed:ret = -7"));
        EXPECT_THAT(hal->device->take(), IsEmpty());
    });
}

TEST_F(OutputSpeaker, StoresPositionAndSendsItToHal) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        const sp<IOutputSpeaker> service = started();
        hal->device->take();
        const auto expectSet = [&](int type, bool legal, const std::string& stored, const char* sent,
                                   int status) {
            EXPECT_EQ(service->setTvPosition(type), status);
            std::vector<std::string> lines{"D [setTvPosition] start:type = " + std::to_string(type)};
            if (!legal) lines.push_back("W illigal argument:type = " + std::to_string(type));
            lines.push_back("D set tv position:value = " + stored + ", result = " + std::to_string(status));
            lines.push_back("D [setTvPosition] end:ret = " + std::to_string(status));
            EXPECT_EQ(logged(), lines);
            EXPECT_THAT(hal->device->take(), ElementsAre(std::string("tv_position=") + sent));
        };
        for (const auto& [type, stored, sent] : {std::tuple(0, "0", "table_top"),
                                                 {1, "1", "wall_mount"},
                                                 {7, "0", "table_top"},
                                                 {1, "1", "wall_mount"},
                                                 {-1, "0", "table_top"}}) {
            expectSet(type, type == 0 || type == 1, stored, sent, 0);
            EXPECT_EQ(contentOf(fileOf("tv_position")), std::string(stored) + "\n");
        }
        hal->device->result = Result::INVALID_ARGUMENTS;
        fail("a_mtktvapi_config_set_value", "-6\n");
        expectSet(1, true, "1", "wall_mount", -6);
        EXPECT_EQ(contentOf(fileOf("tv_position")), "0\n");
    });
}

TEST_F(OutputSpeaker, WorksWithoutHal) {
    inOwnProcess([&] {
        const sp<IOutputSpeaker> service = start();
        EXPECT_THAT(logged(), ElementsAre(kStart, kOpened, kAccessorsNoHal, kNoHal));
        const sp<FakeHal> hal = FakeHal::start();  // the service looks for the HAL only at start
        EXPECT_EQ(service->setTvPosition(0), 0);
        EXPECT_EQ(contentOf(fileOf("tv_position")), "0\n");
        EXPECT_EQ(hal->opens, 0);
        EXPECT_THAT(hal->device->take(), IsEmpty());
    });
}

TEST_F(OutputSpeaker, StartsIfTvNeverGetsReady) {
    inOwnProcess([&] {
        std::filesystem::remove(marker_);
        const host::SteppedClock clock;
        start();
        EXPECT_EQ(clock.now(), std::chrono::seconds(20));
        const auto lines = logged();
        const std::vector<std::string> end(lines.begin() + 2000, lines.end());
        EXPECT_THAT(end, ElementsAre("D <<<<<hidlaudio waiting dtv_svc>>>>> count:1999",
                                     "D dtv_svc rpc server failed.", kOpened, kAccessorsNoHal, kNoHal));
    });
}

TEST_F(OutputSpeaker, ReturnsStoredPosition) {
    inOwnProcess([&] {
        const sp<IOutputSpeaker> service = started();
        for (const auto& [stored, position] : {std::pair(0, 0), {1, 1}, {2, 0}, {-1, 0}}) {
            store("tv_position", stored);
            EXPECT_EQ(service->getTvPosition(), static_cast<V3_1::TvPositionType>(position));
            EXPECT_THAT(logged(),
                        ElementsAre("D [getTvPosition] start",
                                    "D get tv position:value = " + std::to_string(stored) + ", result = 0",
                                    "D [getTvPosition] end:ret = " + std::to_string(position)));
        }
        store("tv_position", 1);
        fail("a_mtktvapi_config_get_value", "-7\n");
        EXPECT_EQ(service->getTvPosition(), V3_1::TvPositionType::TABLE_TOP);
        EXPECT_THAT(logged(),
                    ElementsAre("D [getTvPosition] start", "E a_mtktvapi_config_get_value failed:ret = -7"));
    });
}

TEST_F(OutputSpeaker, ReturnsSurroundType) {
    inOwnProcess([&] {
        const sp<IOutputSpeaker> service = started();
        for (const auto& [type, speaker, answer] :
             {std::tuple(0, 0, 0), {1, 0, 1}, {2, 0, 2}, {3, 0, 0}, {2, 1, 0}, {2, 2, 2}}) {
            store("spk_sur_type", type);
            store("aud_speaker", speaker);
            EXPECT_EQ(service->getSurroundType(), static_cast<V2_0::SurroundType>(answer)) << type << speaker;
            EXPECT_THAT(logged(), ElementsAre("D [getSurroundType] start",
                                              "D [getSurroundType] end ret:" + std::to_string(answer)));
        }
        std::filesystem::remove(fileOf("aud_speaker"));
        EXPECT_EQ(service->getSurroundType(), V2_0::SurroundType::TYPE_2);
        EXPECT_EQ(logged()[2], "E getSurroundType, MTKTVAPI CFG_AUD_SPEAKER failed:ret = -1\n");
        fail("a_mtktvapi_config_get_value", "-7 1\n");
        EXPECT_EQ(service->getSurroundType(), V2_0::SurroundType::NONE);
        EXPECT_THAT(logged(), ElementsAre("D [getSurroundType] start",
                                          "E getSurroundType, MTKTVAPI failed:ret = -7\n"));
    });
}

TEST_F(OutputSpeaker, ReturnsDelay) {
    inOwnProcess([&] {
        const sp<IOutputSpeaker> service = started();
        for (const auto& [reported, delay, shown] :
             {std::tuple("42", 42.0F, "42"), {"4294967295", 4294967295.0F, "-1"}}) {
            makeFile(tv_ / "soc/audio_decoder/channel_main_delay_sp", reported);
            EXPECT_EQ(service->getDelay(), delay);
            EXPECT_THAT(logged(),
                        ElementsAre("D [getDelay] start", std::string("D [getDelay] end:ret = ") + shown));
        }
        fail("MTAUDDEC_GetChannelMainDelaySp", "-9\n");
        EXPECT_EQ(service->getDelay(), 0.0F);
        EXPECT_THAT(logged(),
                    ElementsAre("D [getDelay] start", "E MTAUDDEC_GetChannelMainDelaySp failed. ret:-9"));
    });
}

}  // namespace
}  // namespace hidlaudio::test
