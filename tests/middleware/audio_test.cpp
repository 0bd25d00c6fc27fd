// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/kernel/log.h"
#include "platform/soc_middleware.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using testing::HasSubstr;

class Audio : public testing::Test {
  protected:
    Audio() { EXPECT_EQ(MTAL_Init(), 0); }

    PrivateTv tv_{"soc/faults", "soc/audio_decoder", "soc/audio_post"};
    host::LogCapture log_;
};

TEST_F(Audio, ReportsTheDelay) {
    const std::string file = tv_ / "soc/audio_decoder/channel_main_delay_sp";
    uint32_t delay = 7;
    for (const char* text : {"", "-1", "4294967296", "1.5", "late"}) {
        makeFile(file, text);
        EXPECT_NE(MTAUDDEC_GetChannelMainDelaySp(&delay), 0) << text;
        EXPECT_EQ(delay, 7U) << text;
        EXPECT_THAT(log_.take().at(0).text, HasSubstr(file));
    }
    makeFile(file, "4294967295\n");
    EXPECT_EQ(MTAUDDEC_GetChannelMainDelaySp(&delay), 0);
    EXPECT_EQ(delay, 4294967295U);
    std::filesystem::remove(file);
    EXPECT_NE(MTAUDDEC_GetChannelMainDelaySp(&delay), 0);
    EXPECT_NE(MTAUDDEC_GetChannelMainDelaySp(nullptr), 0);
}

TEST_F(Audio, KeepsWhatTheDecoderIsGiven) {
    float gains[32] = {-1.0F, 2.35F, -0.25F};
    gains[31] = 9.0F;
    std::string lines = "-1\n2.35\n-0.25\n";
    for (int i = 3; i < 31; ++i) lines += "0\n";
    EXPECT_EQ(MTAUDDEC_Set32EqualizerBandConfig(gains), 0);
    EXPECT_EQ(contentOf(tv_ / "soc/audio_decoder/equalizer"), lines + "9\n");
    EXPECT_EQ(MTAUDDEC_SetAcVolumeOffset(-128), 0);
    EXPECT_EQ(contentOf(tv_ / "soc/audio_decoder/volume_offset"), "-128\n");
    EXPECT_NE(MTAUDDEC_Set32EqualizerBandConfig(nullptr), 0);
    EXPECT_TRUE(log_.take().empty());
    std::filesystem::remove_all(tv_ / "soc/audio_decoder");
    EXPECT_NE(MTAUDDEC_SetAcVolumeOffset(1), 0);
    EXPECT_THAT(log_.take().at(0).text, HasSubstr(tv_ / "soc/audio_decoder/volume_offset"));
}

TEST_F(Audio, TellsWhetherThePostProcessorIsReady) {
    uint32_t answer = 7;
    const MTAUDPOST_Request request{0x42, 1, &answer, {}};
    makeFile(tv_ / "soc/audio_post/ready", "0\n");
    EXPECT_EQ(MTAUDPOST_GetParameters(request), 0);
    EXPECT_EQ(answer, 0U);
    makeFile(tv_ / "soc/audio_post/ready", "4294967295\n");
    for (MTAUDPOST_Request wrong : {MTAUDPOST_Request{0x43, 1, &answer, {}},
                                    {0x42, 2, &answer, {}},
                                    {0x42, 1, nullptr, {}},
                                    {0x42, 1, &answer, {1}}}) {
        EXPECT_NE(MTAUDPOST_GetParameters(wrong), 0);
        EXPECT_EQ(log_.take().size(), 1U);
    }
    EXPECT_EQ(answer, 0U);
    makeFile(tv_ / "soc/faults/MTAUDPOST_GetParameters", "-4 1\n");
    EXPECT_EQ(MTAUDPOST_GetParameters(request), -4);
    EXPECT_NE(answer, 0U) << "garbage, which must not be taken for an answer";
    EXPECT_EQ(MTAUDPOST_GetParameters(request), 0);
    EXPECT_EQ(answer, 4294967295U);
}

}  // namespace
}  // namespace hidlaudio::test
