// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"

namespace hidlaudio::test {
namespace {

using Start = Calibration;
using namespace std::chrono_literals;

TEST_F(Start, AppliesStoredCalibration) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        const sp<IAcousticCalibration> first = start();
        EXPECT_EQ(contentOf(flag_), "\0"s);
        EXPECT_EQ(takeBlocks(), kFlatBlock);
        EXPECT_THAT(hal->device->take(), ElementsAre("ac_offset=0.000000"));
        EXPECT_EQ(first->setCalibratedData({channel("FL", {9}, -3, 1)}), 0);

        const std::string block = "da" + repeat("80", 30) + "6230000000\n";
        for (const auto& [flag, sent, offset] : {std::tuple("\1"s, block, "ac_offset=-3.000000"),
                                                 {"\0"s, kFlatBlock, "ac_offset=0.000000"},
                                                 {"\2"s, kFlatBlock, "ac_offset=0.000000"},
                                                 {""s, kFlatBlock, "ac_offset=0.000000"}}) {
            makeFile(flag_, flag);
            hal->device->result = Result::NOT_SUPPORTED;  // the HAL's result is ignored
            start();
            EXPECT_EQ(takeBlocks(), sent);
            EXPECT_THAT(hal->device->take(), ElementsAre(offset));
            EXPECT_EQ(contentOf(flag_), flag);
        }
        makeFile(flag_, "\1");
        std::filesystem::remove(data_);
        started(false);
        EXPECT_EQ(takeDecoder(), kFlatDecoder);
        EXPECT_THAT(hal->device->take(), ElementsAre("ac_offset=12.000000"));
        EXPECT_EQ(contentOf(flag_), "\1") << "a missing data file does not reset the switch";
    });
}

TEST_F(Start, AppliesNothingWithoutHal) {
    inOwnProcess([&] {
        const sp<IAcousticCalibration> service = start();
        EXPECT_FALSE(std::filesystem::exists(flag_));
        EXPECT_EQ(takeBlocks(), "");
        EXPECT_EQ(service->setCalibratedData({channel("FL", {})}), 0);
        EXPECT_EQ(service->setEnabled(true), 0) << "calibration works without HAL";
        EXPECT_TRUE(service->getEnabled());
        EXPECT_EQ(takeBlocks(), kFlatBlock);
    });
}

/** When a part of the TV becomes ready: at once, after some sleeps, or never. */
enum Stage { Ready, Late, Never };

TEST_F(Start, WaitsForEachPartOfTv) {
    constexpr Stage kStages[] = {Ready, Late, Never};
    constexpr size_t kPlatformSleeps[] = {0, 37, 4000};  // Never: two waits, at start and before sending
    constexpr size_t kControllerSleeps[] = {0, 3, 30};
    constexpr size_t kPostProcessorSleeps[] = {0, 3, 50};
    const auto check = [&](bool backEnd, Stage platform, Stage part) {
        const sp<FakeHal> hal = FakeHal::start();
        tv_.setModelFlag(backEnd ? '\1' : '\0');
        std::filesystem::remove(marker_);
        const auto beginPart = [&] {
            makeFile(tv_ / "soc/bectrl/boot_state", "1\n");
            makeFile(tv_ / "soc/audio_post/ready", "7\n");
        };
        makeFile(tv_ / "soc/bectrl/boot_state", "0\n");
        makeFile(tv_ / "soc/audio_post/ready", "0\n");
        if (platform == Ready) makeFile(marker_);
        if (part == Ready) beginPart();
        host::SteppedClock clock;
        clock.onSleep([&](size_t sleeps) {
            if (platform == Late && sleeps == 37) makeFile(marker_);
            const size_t before = platform == Never ? 2000 : kPlatformSleeps[platform];
            if (part == Late && sleeps == before + 3) beginPart();
        });
        start();
        const bool controlled =
            backEnd || platform == Never;  // the model is assumed to have one until it is known
        std::map<host::SteppedClock::Time, size_t> slept{{10ms, 0}, {200ms, 0}, {500ms, 0}};
        for (const auto time : clock.sleeps()) ++slept[time];
        EXPECT_THAT(slept, ElementsAre(std::pair(10ms, kPlatformSleeps[platform]),
                                       std::pair(200ms, controlled ? 0 : kPostProcessorSleeps[part]),
                                       std::pair(500ms, controlled ? kControllerSleeps[part] : 0)));
        EXPECT_EQ(takeBlocks(), controlled && platform != Never ? kFlatBlock : "");
        EXPECT_EQ(takeDecoder(), controlled ? "(none)(none)" : kFlatDecoder);
        EXPECT_THAT(hal->device->take(),
                    ElementsAre(controlled ? "ac_offset=0.000000" : "ac_offset=12.000000"));
        std::filesystem::remove(flag_);
    };
    for (const bool backEnd : {true, false}) {
        for (const Stage platform : kStages) {
            for (const Stage part : kStages) {
                SCOPED_TRACE(std::to_string(backEnd) + std::to_string(platform) + std::to_string(part));
                inOwnProcess([&] { check(backEnd, platform, part); });
            }
        }
    }
}

TEST_F(Start, NothingIsAppliedIfTvIsNotReady) {
    inOwnProcess([&] {
        const sp<IAcousticCalibration> service = started(false);
        std::filesystem::remove(marker_);
        const host::SteppedClock clock;
        EXPECT_EQ(service->setEnabled(false), -1);
        EXPECT_EQ(clock.now(), std::chrono::seconds(20));
        EXPECT_EQ(takeDecoder(), "(none)(none)");
        EXPECT_FALSE(std::filesystem::exists(flag_));
    });
}

}  // namespace
}  // namespace hidlaudio::test
