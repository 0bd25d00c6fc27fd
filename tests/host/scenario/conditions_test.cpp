// SPDX-License-Identifier: Apache-2.0
#include "host/scenario/shrink/conditions.h"

#include <gmock/gmock.h>

#include "tests/support/private_tv.h"

namespace hidlaudio::host {
namespace {

using testing::HasSubstr;

class Conditions : public testing::Test {
  protected:
    Conditions() {
        test::makeFile(folder_ / "tv/log/hidlaudio.log",
                       "11-26 10:00:00.000   1   2 I tag: first\nsecond 22\n");
        test::makeFile(folder_ / "tv/data/on disk", "\1\2");
        std::filesystem::create_directories(folder_ / "files");
        result_.problems = {"hang: no answer to `audioctl hdmi get`"};
        result_.lines = {{0, "{\"value\":1}\n", ""}, {1, "", "refused\n"}};
        result_.callbacks["a"] = {"listener.onChanged {\"mode\":2}"};
        result_.files["/data/stored"] = "\xAB";
    }

    bool isShown(const std::string& text) {
        Condition condition;
        const std::string problem = parseCondition(text, condition);
        EXPECT_EQ(problem, "");
        return problem.empty() && condition({scenario_, setup_, result_});
    }

    test::PrivateFolder folder_;
    Scenario scenario_;
    RunSetup setup_{"", folder_.path(), "", {}, {}};
    RunResult result_;
};

TEST_F(Conditions, EachKindFindsWhatItNames) {
    const std::pair<const char*, bool> rows[] = {
        {"crash", false},
        {"hang", true},
        {"problem", true},
        {"problem:hdmi get", true},
        {"problem:external", false},
        {"log:first", true},
        {"log:/^second [0-9]+$/", true},
        {"log:/^first/", false},
        {"log:third", false},
        {"nolog:first", false},
        {"nolog:/thi+rd/", true},
        {"answer:\"value\":1", true},
        {"answer:/^refused$/", true},
        {"answer:/onChanged .*\"mode\":2/", true},
        {"answer:onChanged {}", false},
        {"file:/data/stored=ab", true},
        {"file:/data/stored!=ab", false},
        {"file:/data/stored!=", true},
        {"file:/data/on disk=0102", true},
        {"file:/data/none!=00", false},
        {"file:/data/none missing", true},
        {"file:/data/stored missing", false},
        {"command:grep -q second \"$HIDLAUDIO_LOG\" && test -e \"$HIDLAUDIO_TV/data/on disk\"", true},
        {"command:test \"${PWD##*/}\" != files", false},
    };
    for (const auto& [text, expected] : rows) EXPECT_EQ(isShown(text), expected) << text;
    for (const char* crash : {"crash: the daemon was ended by signal 6 (Aborted)",
                              "start: hidlaudio was ended by signal 6 (Aborted)"}) {
        result_.problems = {crash};
        EXPECT_TRUE(isShown("crash")) << crash;
        EXPECT_FALSE(isShown("hang")) << crash;
    }
    result_.problems = {"start: audio_hal was ended by signal 6 (Aborted)"};
    EXPECT_FALSE(isShown("crash"));
    EXPECT_TRUE(isShown("problem"));
}

TEST_F(Conditions, WrongConditionsAreRefused) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "\"\" is not a condition. The conditions are:\n  crash "},
        {"craash", "\"craash\" is not a condition"},
        {"crash:", "`crash` has no argument"},
        {"log", "log: expected log:TEXT"},
        {"log:/a(/", "log:/a(/: /a(/: Unmatched ( "},
        {"file:/data/a", "file:/data/a: expected file:PATH=HEX"},
        {"file:data=00", "PATH must be an absolute path"},
        {"file:/../a=00", "PATH must be an absolute path"},
        {"file:/data=0", "HEX must be pairs"},
        {"different:/none", "different:/none: /none is not a program"},
    };
    for (const auto& [text, problem] : rows) {
        Condition condition;
        EXPECT_THAT(parseCondition(text, condition), HasSubstr(problem)) << text;
    }
}

}  // namespace
}  // namespace hidlaudio::host
