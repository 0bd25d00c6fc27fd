// SPDX-License-Identifier: Apache-2.0
#include "host/reports/log_line.h"
#include "report_text.h"

namespace hidlaudio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(LogcatLine, EachFormatHasTheSameParts) {
    const struct {
        const char* text;
        const char* printed;
    } rows[] = {
        {"11-26 13:02:02.555   601   656 D AudioAC : [getEnabled] start",
         "11-26 13:02:02.555   601   656 D AudioAC : [getEnabled] start\n"},
        {"2026-11-26 13:02:02.555123 +0100  root   601   656 E hdmiaudio: a: b\r",
         "11-26 13:02:02.555   601   656 E hdmiaudio: a: b\n"},
        {"11-26 13:02:02.555  1041   601   656 D AudioAC : x",
         "11-26 13:02:02.555   601   656 D AudioAC : x\n"},
        {"1795698122.555   601   656 I AudioHV : x", "11-26 13:02:02.555   601   656 I AudioHV : x\n"},
        {"11-26 13:02:02.555 W/AudioAC (  601): x (y): z",
         "11-26 13:02:02.555   601   601 W AudioAC : x (y): z\n"},
        {"D/hidlaudio( 601): x", "01-01 00:00:00.000   601   601 D hidlaudio: x\n"},
        {"11-26 13:02:02.555   601   656 D a:b : ", "11-26 13:02:02.555   601   656 D a:b     : \n"},
        {"--------- beginning of main", nullptr},
        {"11-26 13:02:02.555   601", nullptr},
        {"13-26 13:02:02.555   601   656 D AudioAC : x", nullptr},
        {"11-26 13:02:02.555   601   656 D no colon", nullptr},
        {"D/(", nullptr},
    };
    for (const auto& row : rows) {
        host::LogcatLine line;
        const bool isLine = host::parseLogLine(row.text, line);
        ASSERT_EQ(isLine, row.printed != nullptr) << row.text;
        EXPECT_EQ(isLine ? host::formatLogLine(line) : "", row.printed != nullptr ? row.printed : "");
    }
}

TEST(ReportReader, KeepsOnlyTheDaemonsLinesOnce) {
    const std::string ours = logOf({kStart, "hidlaudio: [CenterSpeaker] start", "libc    : Fatal signal 6"});
    const std::string library = logOf({"HidlSupport: x"});
    const std::string others = logOf({"hidlaudio_app: x", "MicControl: unrelated"}, 700);
    const std::string again = logOf({"hidlaudio: [getForceEncodingEnabled] start"}, 600, 3);
    const Made made =
        makeFrom({{"main.txt", "--------- beginning of main\n" + others + ours + library},
                  {"bugreport.txt", "------ SYSTEM LOG (logcat -v threadtime) ------\n" + ours + again +
                                        "------ LAST LOGCAT (logcat -L) ------\n" + ours}});
    EXPECT_EQ(made.problem, "");
    EXPECT_EQ(made.scenario.log, ours + again);
    EXPECT_THAT(made.warnings, ElementsAre());
}

TEST(ReportReader, BuffersAreMergedByTime) {
    const std::string main = logOf({kStart, "AudioAC : [getEnabled] start"});
    const Made made = makeFrom({{"log.txt", "--------- beginning of system\n" +
                                                logOf({"hidlaudio: [getEncodingFormat] start"}, 600, 3) +
                                                "--------- beginning of main\n" + main}});
    EXPECT_THAT(made.scenario.log, testing::StartsWith(main));
}

TEST(ReportReader, RepetitionsAreRestoredAndGapsReported) {
    const Made made = makeFrom({{"log.txt", logOf({kStart, "hidlaudio: [getEncodingFormat] start",
                                                   "chatty: uid=1041(audio) hidlaudio identical 2 lines",
                                                   "chatty: uid=1041(audio) hidlaudio expire 7 lines"})}});
    EXPECT_EQ(made.scenario.calls, 3U);
    EXPECT_THAT(made.warnings, ElementsAre(HasSubstr("log.txt:4: lines of the daemon are lost")));
}

TEST(ReportReader, DamagedLinesAreReportedAndNotGuessed) {
    const std::string log = logOf({kStart, "AudioOutSp: [setTvPosition] start:type = 1",
                                   "AudioOutSp: [setTvPosition] start:ty", "AudioAC : [setEna"}) +
                            "11-26 13:02:02.9  AudioAC : [getEnabled] start\n";
    const Made made = makeFrom({{"log.txt", log}});
    EXPECT_EQ(made.scenario.calls, 1U);
    EXPECT_THAT(made.warnings,
                testing::UnorderedElementsAre(HasSubstr("log.txt:3: "), HasSubstr("log.txt:4: "),
                                              HasSubstr("log.txt:5: ")));
}

TEST(ReportReader, LogsOfTwoTvsAreRefused) {
    const std::string one = logOf({kStart, "AudioAC : [getEnabled] start"}, 600);
    const std::string other = logOf({kStart, "AudioAC : [getEnabled] start"}, 601);
    const std::string late = logOf({"AudioAC : [getEnabled] start"}, 600, 30);
    const std::pair<std::string, const char*> rows[] = {
        {one + other + late, "log.txt:4 and log.txt:5 are of two daemons"},
        {one + late + one.substr(one.find('\n') + 1) + late + one.substr(one.find('\n') + 1),
         "log.txt:5 and log.txt:6 go back in time once more"},
    };
    for (const auto& [log, problem] : rows)
        EXPECT_THAT(makeFrom({{"log.txt", log}}).problem, HasSubstr(problem));
}

TEST(ReportReader, InputWithoutTheDaemonIsRefused) {
    EXPECT_THAT(makeFrom({{"x.bin", std::string("\0\1\2", 3)}}).problem, HasSubstr("x.bin is neither"));
    EXPECT_THAT(makeFrom({{"x.json", "{\"a\": 1}"}}).problem, HasSubstr("x.json is neither"));
    EXPECT_THAT(makeFrom({{"log.txt", logOf({"ActivityManager: x"})}}).problem,
                HasSubstr("no line of the daemon hidlaudio in log.txt"));
    const std::string deep = R"({"event":"call","arguments":)" + std::string(100000, '[');
    EXPECT_NE(makeFrom({{"calls.jsonl", deep}}).problem, "");
}

}  // namespace
}  // namespace hidlaudio::test
