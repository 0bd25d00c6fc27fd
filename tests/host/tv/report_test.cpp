// SPDX-License-Identifier: Apache-2.0
#include "tv_command.h"

namespace hidlaudio::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class ReportCommand : public TvCommand {
  protected:
    ~ReportCommand() override { run({"shutdown"}); }

    static int audioctl(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), AUDIOCTL);
        return runProgram(arguments).status;
    }

    const std::string report_ = folder_ / "report";
};

TEST_F(ReportCommand, ReportOfATvBecomesAScenarioThatRepeatsIt) {
    mustRun({"init", "--model", "standard"});
    mustRun({"config", "g_audio__tv_position", "1"});
    mustRun({"fault", "a_mtktvapi_config_get_value", "7", "1"});
    mustRun({"boot", "--background"});
    EXPECT_EQ(audioctl({"hdmi", "set", "ARC_DD_PLUS"}), 0);
    EXPECT_EQ(audioctl({"speaker", "position"}), 0);
    EXPECT_EQ(audioctl({"external", "set", "off"}), 0);
    EXPECT_EQ(audioctl({"dump", "--all", "--output", folder_ / "dump.json"}), 0);
    mustRun({"shutdown"});

    EXPECT_THAT(
        mustRun({"from-report", folder_ / "dump.json", tv_, "--output", report_}),
        AllOf(HasSubstr("calls: 3\nboots: 1\nclients: 1\nfaults: 1\n"), HasSubstr("next: tv replay ")));
    EXPECT_EQ(contentOf(report_ + "/report.log"), contentOf(tv_ + "/log/hidlaudio.log"));
    EXPECT_THAT(
        contentOf(report_ + "/report.scenario"),
        AllOf(
            HasSubstr("tv fault a_mtktvapi_config_get_value 7 1\ntv boot\n"),
            HasSubstr("client app IHdmiAudio.setAudioCapabilities {\"capabilities\":[\"ARC_DD_PLUS\"]}\n")));
    EXPECT_THAT(contentOf(report_ + "/notes.txt"), HasSubstr("the model is standard"));
    EXPECT_THAT(runProgram({command_, "--tv", report_ + "/tv", "show"}).out, HasSubstr("tv_position 1"));
    EXPECT_THAT(mustRun({"replay", report_ + "/report.scenario"}), HasSubstr("same: "));
}

TEST_F(ReportCommand, BadInputAndOutputAreRefused) {
    makeFile(folder_ / "other.txt", "11-26 13:02:02.555   601   656 D Other: x\n");
    makeFile(folder_ / "binary", std::string("\x7f\0ELF", 5));
    makeFile(folder_ / "log.txt", "11-26 13:02:02.555   601   656 D AudioAC : [getEnabled] start\n");
    const struct {
        const char* file;
        int status;
        const char* message;
    } rows[] = {
        {"other.txt", 2, "no line of the daemon hidlaudio in "},
        {"binary", 2, "binary is neither a log"},
        {"none", 2, "none: No such file or directory"},
    };
    for (const auto& row : rows) {
        const Outcome outcome = run({"from-report", folder_ / row.file, "--output", report_});
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_THAT(outcome.err, HasSubstr(row.message));
        EXPECT_FALSE(std::filesystem::exists(report_));
    }
    const Outcome outcome = run({"from-report", folder_ / "log.txt", "--output", folder_ / "."});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("is not an empty folder"));
}

}  // namespace
}  // namespace hidlaudio::test
