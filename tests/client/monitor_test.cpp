// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "audioctl.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

class MonitorCommand : public AudioctlTv {
  protected:
    static std::unique_ptr<RunningProgram> monitor(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "monitor");
        auto program = std::make_unique<RunningProgram>(commandLine(arguments));
        EXPECT_TRUE(becomesTrue([&] { return program->err().find("monitoring") != std::string::npos; }));
        return program;
    }

    /** Waits until the monitor has printed the text, and ends it as Ctrl-C does. Returns its output. */
    static std::string outputWith(RunningProgram& program, const std::string& text) {
        EXPECT_TRUE(becomesTrue([&] { return program.out().find(text) != std::string::npos; }))
            << program.out() << program.err();
        kill(program.pid(), SIGINT);
        EXPECT_EQ(program.wait(), 0) << program.err();
        return program.out();
    }
};

TEST_F(MonitorCommand, PrintsTheCallsThatMatch) {
    const auto daemon = startDaemon();
    const auto all = monitor({});
    const auto external = monitor({"--service", "external", "--json"});
    const auto methods = monitor({"--method", "ping", "--method", "setAudioCapabilities"});
    const auto strangers = monitor({"--client", "1"});
    EXPECT_EQ(run({"ping", "-n", "1"}).status, 0);
    EXPECT_EQ(run({"external", "set", "off"}).status, 0);
    EXPECT_EQ(run({"hdmi", "set", "ARC_DD_PLUS"}).status, 0);
    // All of them get the calls through the record of the first one, which ends last.
    EXPECT_THAT(outputWith(*methods, "setAudioCapabilities"), HasSubstr(" IOutputExternal@3.1 ping(?) -> "));
    const json call = json::parse(outputWith(*external, "setForce"));
    if (!HIDLAUDIO_EMULATED) {  // otherwise the program is the emulator
        EXPECT_EQ(call["program"], "audioctl");
    }
    EXPECT_EQ(call["arguments"], json({{"enable", false}}));
    EXPECT_EQ(call["results"], json({{"result", 0}}));
    EXPECT_GT(call["duration"], 0);
    const std::string lines = outputWith(*all, "setAudioCapabilities");
    EXPECT_THAT(lines, ContainsRegex("^[0-9:.]{12} [^ ]+\\([0-9]+\\) -> IOutputExternal@3.1 "
                                     "setForceEncodingEnabled\\(enable=false\\) -> "
                                     "\\(result=0\\) [0-9.]+ ms\n"));
    EXPECT_THAT(lines, Not(HasSubstr("ping")));
    EXPECT_EQ(outputWith(*strangers, ""), "");
    EXPECT_TRUE(std::filesystem::is_empty(tv_ / "properties"));
}

TEST_F(MonitorCommand, ContinuesAfterTheEndOfAnotherOneAndOfTheDaemon) {
    auto daemon = startDaemon();
    const auto first = monitor({});
    const auto second = monitor({});
    outputWith(*first, "");
    EXPECT_TRUE(becomesTrue([&] { return second->err().rfind("monitoring") > 20; })) << "own record";
    EXPECT_EQ(run({"external", "get"}).status, 0);
    daemon.reset();
    daemon = startDaemon();
    EXPECT_EQ(run({"external", "set", "off"}).status, 0);
    EXPECT_THAT(outputWith(*second, "setForceEncodingEnabled"), HasSubstr("getForceEncodingEnabled"));
}

}  // namespace
}  // namespace hidlaudio::test
