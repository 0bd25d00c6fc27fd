// SPDX-License-Identifier: Apache-2.0
#include "host/scenario/scenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace hidlaudio::host {
namespace {

using testing::HasSubstr;

TEST(Scenario, EachKindOfLineIsRead) {
    Scenario scenario;
    const std::string text =
        "# An upload\n"
        "tv init --model be\n"
        "file /data/x hex 00fF\n"
        "tv boot\n"
        "client app IHeadphoneVirtualizer.allocateParameterBuffer {\"type\": \"HRTF\", \"size\": 2} > h\n"
        "client app IHeadphoneVirtualizer.cancel {\"bufferHandle\": \"$h\"} &\n"
        "  await transfer  finished \n"
        "client b com.tovi.dtv.hardware.audio@1.1::IHdmiAudio.getAudioCapabilities > all\n"
        "kill app\n";
    ASSERT_EQ(parseScenario("x.scenario", text, scenario), "");
    EXPECT_EQ(scenario.about, "An upload");
    EXPECT_TRUE(scenario.boots);
    ASSERT_EQ(scenario.lines.size(), 7U);
    EXPECT_EQ(scenario.lines[0].content, std::string("\0\xff", 2));
    EXPECT_EQ(scenario.lines[2].call.interface, "com.tovi.dtv.hardware.audio@5.1::IHeadphoneVirtualizer");
    EXPECT_EQ(scenario.lines[2].call.variable, "h");
    EXPECT_EQ(scenario.lines[2].call.arguments["size"], 2);
    EXPECT_TRUE(scenario.lines[3].background);
    EXPECT_EQ(scenario.lines[4].content, "transfer  finished");
    EXPECT_EQ(scenario.lines[5].call.interface, "com.tovi.dtv.hardware.audio@1.1::IHdmiAudio");
    EXPECT_EQ(scenario.lines[5].call.variable, "all");
    Scenario again;
    ASSERT_EQ(parseScenario("x.scenario", scenarioText(scenario), again), "");
    EXPECT_EQ(scenarioText(again), scenarioText(scenario));
}

TEST(Scenario, WrongLineIsReportedWithItsNumber) {
    const std::string nested =
        "client a IHdmiAudio.get {\"a\": " + std::string(1000000, '[') + std::string(1000000, ']') + "}";
    const std::pair<const char*, const char*> cases[] = {
        {"tv init\n\nls", "x.scenario:3: a line begins with"},
        {"tv boot\ntv init", "x.scenario:2: `tv init` can only be the first"},
        {"tv boot now", "takes no arguments"},
        {"tv log", "the commands of `tv` are"},
        {"tv config a b &", "in the background"},
        {"audioctl", "missing"},
        {"client a IHdmiAudio", "expected `client"},
        {"client a INothing.get", "there is no service INothing"},
        {"client a IHdmiAudio.get [1]", "must be an object of JSON"},
        {"client a IHdmiAudio.get {\"a\": ", "must be an object of JSON"},
        {nested.c_str(), "at most 100 levels"},
        {"client a IHdmiAudio.get {\"a\": [\"$h\"]}", "no line before it stores $h"},
        {"client a IHdmiAudio.get {} > a\"b", "VARIABLE must be a name"},
        {"kill", "expected `kill"},
        {"await", "expected `await"},
        {"file data hex 00", "absolute path"},
        {"file /data/../../x hex 00", "absolute path"},
        {"file /data/x hex 0g", "hexadecimal"},
        {"file /data/x copy ../x", "beside the scenario"},
        {"file /data/x", "expected `file"},
        {"# only a comment", "no command"},
    };
    for (const auto& [text, message] : cases) {
        Scenario scenario;
        EXPECT_THAT(parseScenario("x.scenario", text, scenario), HasSubstr(message)) << text;
    }
}

}  // namespace
}  // namespace hidlaudio::host
