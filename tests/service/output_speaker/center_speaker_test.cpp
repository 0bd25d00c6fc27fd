// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/kernel/clock/clock.h"
#include "host/kernel/faults/faults.h"
#include "host/kernel/log.h"
#include "output_speaker/CenterSpeaker.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::V4_0;
using android::sp;
using testing::ElementsAre;
using std::string_literals::operator""s;

constexpr size_t kBlock = 23924;
constexpr size_t kSegment = 0x10089;
constexpr size_t kMode = 0x10116;

/** Results of all getters. */
struct Answers {
    std::vector<int16_t> types;
    SampleLatency latency{};
    bool input = false;
    bool synchronized = false;
};

Answers answersOf(const sp<ICenterSpeaker>& service) {
    Answers answers;
    EXPECT_TRUE(
        service->getCenterSpeakerAcousticsType([&](const auto& types) { answers.types = types; }).isOk());
    EXPECT_TRUE(
        service->getCenterSpeakerLatency([&](const auto& latency) { answers.latency = latency; }).isOk());
    answers.input = service->isCenterSpeakerInputAvailable();
    answers.synchronized = service->isSynchronizedCenterSpeakerInputAvailable();
    return answers;
}

class CenterSpeaker : public testing::Test {
  protected:
    CenterSpeaker() {
        makeFile(marker_);
        makeAqData("\7\0\0\0"s, "\0\4\0\0"s);
        makeEeprom('S', 2);
    }

    static sp<ICenterSpeaker> start() { return new implementation::CenterSpeaker; }

    void makeAqData(const std::string& type, const std::string& latency) {
        makeFile(aqData_, std::string(kBlock, '\xee') + type + latency + std::string(12, '\xee') + "more");
    }
    void makeEeprom(char segment, char mode) {
        std::string image(kMode + 1, '\xff');
        image[kSegment] = segment;
        image[kMode] = mode;
        makeFile(tv_ / "soc/eeprom.bin", image);
    }

    PrivateTv tv_{"soc/faults"};
    const host::LogCapture log_;
    const std::string marker_ = tv_ / "data/vendor/tmp/dtv_svc_is_ready";
    const std::string aqData_ = tv_ / "data/vendor/tmp/recipe/aqda.bin";
};

TEST_F(CenterSpeaker, ReadsDataOnceAtStart) {
    const sp<ICenterSpeaker> service = start();
    std::filesystem::remove_all(tv_.path());
    const Answers answers = answersOf(service);
    EXPECT_THAT(answers.types, ElementsAre(7));
    EXPECT_EQ(answers.latency, (SampleLatency{48000, 1024}));
    EXPECT_TRUE(answers.input && answers.synchronized);
}

TEST_F(CenterSpeaker, TypeAndLatencyComeFromTuningData) {
    for (const auto& [typeWord, type, latencyWord, samples] :
         {std::tuple("\0\0\0\0"s, 0, "\0\0\0\0"s, 0),
          {"\xff\0\0\0"s, 255, "\xff\xff\xff\x7f"s, INT32_MAX},
          {"\2\1\0\0"s, 0, "\0\0\0\x80"s, INT32_MIN},
          {"\xff\xff\xff\xff"s, 0, "\1\0\0\0"s, 1}}) {
        makeAqData(typeWord, latencyWord);
        const Answers answers = answersOf(start());
        EXPECT_THAT(answers.types, ElementsAre(type));
        EXPECT_EQ(answers.latency.samples, samples);
    }
}

TEST_F(CenterSpeaker, InputComesFromEeprom) {
    for (const auto& [segment, mode, input, synchronized] : {std::tuple('S', 0, true, false),
                                                             {'T', 2, true, true},
                                                             {'U', -1, false, true},
                                                             {'s', 0, false, false},
                                                             {'R', 1, false, true}}) {
        makeEeprom(segment, static_cast<char>(mode));
        const Answers answers = answersOf(start());
        EXPECT_EQ(answers.input, input) << segment;
        EXPECT_EQ(answers.synchronized, synchronized) << mode;
    }
}

TEST_F(CenterSpeaker, ReturnsDefaultsWithoutTuningData) {
    const auto expectDefaults = [&] {
        std::filesystem::remove(marker_);
        const host::SteppedClock clock;
        const Answers answers = answersOf(start());
        EXPECT_THAT(clock.sleeps(), testing::IsEmpty()) << "the service does not wait for the TV";
        EXPECT_THAT(answers.types, ElementsAre(0));
        EXPECT_EQ(answers.latency, (SampleLatency{48000, 576}));
        EXPECT_FALSE(answers.input || answers.synchronized);
        makeFile(marker_);
    };
    for (const char* call : {"fopen", "fseek", "fread"}) {
        SCOPED_TRACE(call);
        answersOf(start());  // the data of an earlier start must not be reused
        const host::ScopedFault fault({call, 1, EIO});
        expectDefaults();
    }
    for (const size_t size : {size_t{0}, kBlock, kBlock + 19}) {
        SCOPED_TRACE(size);
        std::filesystem::resize_file(aqData_, size);
        expectDefaults();
    }
    std::filesystem::remove(aqData_);
    expectDefaults();
    makeAqData("\7\0\0\0"s, "\0\4\0\0"s);
    std::filesystem::resize_file(aqData_, kBlock + 20);
    EXPECT_THAT(answersOf(start()).types, ElementsAre(7)) << "data after the block is not needed";
}

TEST_F(CenterSpeaker, TuningDataIsKeptIfMiddlewareFails) {
    for (const auto& [function, status, input, synchronized] : {std::tuple("MTAL_Init", "-1", false, false),
                                                                {"MTEEPROM_Init", "-1", false, false},
                                                                {"MTEEPROM_Read", "-1 1", false, true},
                                                                {"MTEEPROM_Read", "-1", false, false},
                                                                {"DRV_Init", "-1", true, true},
                                                                {"MTEEPROM_GetProperty", "-1", true, true}}) {
        SCOPED_TRACE(function);
        const std::string fault = tv_ / "soc/faults/" + function;
        makeFile(fault, status);
        const Answers answers = answersOf(start());
        std::filesystem::remove(fault);
        EXPECT_THAT(answers.types, ElementsAre(7));
        EXPECT_EQ(answers.latency.samples, 1024);
        EXPECT_EQ(answers.input, input);
        EXPECT_EQ(answers.synchronized, synchronized);
    }
}

}  // namespace
}  // namespace hidlaudio::test
