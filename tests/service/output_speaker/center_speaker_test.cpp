// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/kernel/clock/clock.h"
#include "host/kernel/faults/faults.h"
#include "output_speaker/CenterSpeaker.h"
#include "tests/support/log_text.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::V4_0;
using android::sp;
using testing::ElementsAre;
using Lines = std::vector<std::string>;
using std::string_literals::operator""s;

constexpr size_t kBlock = 23924;
constexpr size_t kSegment = 0x10089;
constexpr size_t kMode = 0x10116;
constexpr char kStart[] = "D [CenterSpeaker] start";
constexpr char kReady[] = "I <<<<<hidlaudio dtv_svc is ready !>>>>> count:0";
constexpr char kEnd[] = "D [CenterSpeaker] end";

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

    Lines logged() { return takeText(log_, "output_speaker_test"); }
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
    host::LogCapture log_;
    const std::string marker_ = tv_ / "data/vendor/tmp/dtv_svc_is_ready";
    const std::string aqData_ = tv_ / "data/vendor/tmp/recipe/aqda.bin";
};

TEST_F(CenterSpeaker, ReadsDataOnceAtStart) {
    const sp<ICenterSpeaker> service = start();
    EXPECT_THAT(logged(), ElementsAre(kStart, kReady, kEnd));
    std::filesystem::remove_all(tv_.path());
    const Answers answers = answersOf(service);
    EXPECT_THAT(answers.types, ElementsAre(7));
    EXPECT_EQ(answers.latency, (SampleLatency{48000, 1024}));
    EXPECT_TRUE(answers.input && answers.synchronized);
    EXPECT_THAT(logged(), ElementsAre("D [getCenterSpeakerAcousticsType] start",
                                      "D [getCenterSpeakerAcousticsType] Return: TvSpeakerType=7",
                                      "D [getCenterSpeakerLatency] start",
                                      "D [getCenterSpeakerLatency] Return: samplingRate=48000, samples=1024",
                                      "D [isCenterSpeakerInputAvailable] Return: 1",
                                      "D [isSynchronizedCenterSpeakerInputAvailable] Return: 1"));
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
        EXPECT_THAT(logged(), testing::Each(testing::Not(testing::HasSubstr("W "))))
            << "no warning for valid data";
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
    const auto expectFailure = [&](const std::string& failure) {
        const sp<ICenterSpeaker> service = start();
        EXPECT_THAT(logged(), ElementsAre(kStart, "E [readMmCecFromAqdata] " + failure))
            << "the service does not wait for the TV";
        const Answers answers = answersOf(service);
        EXPECT_THAT(answers.types, ElementsAre(0));
        EXPECT_EQ(answers.latency, (SampleLatency{48000, 576}));
        EXPECT_FALSE(answers.input || answers.synchronized);
        const Lines lines = logged();
        EXPECT_EQ(lines[1], "W [getCenterSpeakerAcousticsType] Exist problem in AQData access.");
        EXPECT_EQ(lines[4], "W [getCenterSpeakerLatency] Exist problem in AQData access.");
    };
    for (const auto& [call, error] : {std::pair("fopen", EACCES), {"fseek", EIO}, {"fread", EIO}}) {
        answersOf(start());  // the data of an earlier start must not be reused
        logged();
        const host::ScopedFault fault({call, 1, error});
        expectFailure(call + " failed, errno "s + std::to_string(error));
    }
    for (const size_t size : {size_t{0}, kBlock, kBlock + 19}) {
        std::filesystem::resize_file(aqData_, size);
        expectFailure("fread failed, errno 0");
    }
    std::filesystem::remove(aqData_);
    expectFailure("fopen failed, errno 2");
    makeAqData("\7\0\0\0"s, "\0\4\0\0"s);
    std::filesystem::resize_file(aqData_, kBlock + 20);
    EXPECT_THAT(answersOf(start()).types, ElementsAre(7)) << "data after the block is not needed";
}

TEST_F(CenterSpeaker, TuningDataIsKeptIfMiddlewareFails) {
    const std::string segment = "E [CenterSpeaker] Eeprom read fail.(segment)";
    const std::string mode = "E [CenterSpeaker] Eeprom read fail.(center_speaker_mode)";
    struct Case {
        std::string function, fault;
        Lines lines;
        bool input, synchronized;
    };
    const Case cases[] = {
        {"MTAL_Init", "-1", {"E [CenterSpeaker] MTAL_Init fail."}, false, false},
        {"MTEEPROM_Init", "-1", {"E [CenterSpeaker] Eeprom init fail."}, false, false},
        {"MTEEPROM_Read", "-1 1", {segment}, false, true},
        {"MTEEPROM_Read", "-1", {segment, mode}, false, false},
        {"DRV_Init", "-1", {}, true, true},
        {"MTEEPROM_GetProperty", "-1", {}, true, true},
    };
    for (const Case& failure : cases) {
        SCOPED_TRACE(failure.function);
        const std::string fault = tv_ / "soc/faults/" + failure.function;
        makeFile(fault, failure.fault);
        const sp<ICenterSpeaker> service = start();
        std::filesystem::remove(fault);
        Lines expected{kStart, kReady};
        expected.insert(expected.end(), failure.lines.begin(), failure.lines.end());
        expected.emplace_back(kEnd);
        EXPECT_EQ(logged(), expected);
        const Answers answers = answersOf(service);
        EXPECT_THAT(answers.types, ElementsAre(7));
        EXPECT_EQ(answers.latency.samples, 1024);
        EXPECT_EQ(answers.input, failure.input);
        EXPECT_EQ(answers.synchronized, failure.synchronized);
        logged();
    }
}

TEST_F(CenterSpeaker, HasNoInputIfTvNeverGetsReady) {
    std::filesystem::remove(marker_);
    const host::SteppedClock clock;
    const sp<ICenterSpeaker> service = start();
    EXPECT_EQ(clock.now(), std::chrono::seconds(20));
    EXPECT_EQ(logged().back(), "E [CenterSpeaker] dtv_svc rpc server failed [TimeOut].");
    const Answers answers = answersOf(service);
    EXPECT_FALSE(answers.input || answers.synchronized);
    EXPECT_THAT(answers.types, ElementsAre(7));
}

}  // namespace
}  // namespace hidlaudio::test
