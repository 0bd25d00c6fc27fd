// SPDX-License-Identifier: Apache-2.0
#include <signal.h>

#include "scratch_command.h"

namespace hidlaudio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

/** The daemon's second write is that of `external set off`. */
constexpr char kSettings[] =
    "# Several settings\n"
    "tv init --model standard --centre-input\n"
    "audioctl speaker position\n"
    "tv fault getParameters delay=3000 7\n"
    "audioctl hdmi watch &\n"
    "file /data/vendor/tovi/hidlaudio/bitstream_output_mode.data hex 00000000\n"
    "audioctl external set off --timeout 2\n"
    "file /data/copied copy room.json\n";

class Shrink : public ScratchCommand {
  protected:
    Shrink() {
        command_ = TV_COMMAND;
        makeFile(folder_ / "room.json");
        makeFile(scenario_, kSettings);
        std::filesystem::create_directory(folder_ / "out");
    }

    /** Creates a script that can start the daemon with RUN_DAEMON. Returns its path. */
    std::string script(const std::string& text) {
        const std::string path = folder_ / "daemon.sh";
        makeFile(path, "#!/bin/sh\n" + text + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }

    const std::string scenario_ = folder_ / "settings.scenario";
};

TEST_F(Shrink, ShortestScenarioIsFound) {
    const std::string dying = script("HIDLAUDIO_FAULT=write:2:dies exec " RUN_DAEMON);
    const Outcome crash = runHere({"shrink", scenario_, "--until", "crash", "--daemon", dying});
    EXPECT_EQ(crash.status, 0) << crash.err;
    EXPECT_EQ(crash.out, "# Several settings; shrunk: --until crash\naudioctl external set off\n");
    EXPECT_THAT(crash.err, HasSubstr("7 lines before, 1 after; "));

    const Outcome different =
        runHere({"shrink", scenario_, "--until", "different:" + dying, "--until",
                 "file:/data/vendor/tovi/hidlaudio/bitstream_output_mode.data=02000000"});
    EXPECT_EQ(different.status, 0) << different.err;
    EXPECT_THAT(different.out, HasSubstr("\naudioctl external set off\n"));

    const Outcome file =
        runHere({"shrink", scenario_, "--until", "command:test -e \"$HIDLAUDIO_TV/data/copied\"", "--output",
                 folder_ / "out/short.scenario"});
    EXPECT_EQ(file.status, 0) << file.err;
    EXPECT_THAT(contentOf(folder_ / "out/short.scenario"), HasSubstr("\nfile /data/copied copy room.json\n"));
    EXPECT_THAT(file.err, HasSubstr("beside it: room.json\n"));

    makeFile(scenario_, "tv config\n");
    const Outcome none = runHere({"shrink", scenario_, "--until", "problem"});
    EXPECT_EQ(none.status, 1) << none.out;
    EXPECT_THAT(none.err, HasSubstr("does not show the condition in any of 3 runs"));
    EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(Shrink, FlakyConditionIsTriedAgain) {
    // The daemon crashes at each second start.
    const std::string flaky = script(
        "count=\"${0%/*}/count\"\n"
        "if mkdir \"$count\" 2>/dev/null; then exec " RUN_DAEMON
        "; fi\n"
        "rmdir \"$count\"\n"
        "kill -ABRT $$\n");
    const Outcome outcome = runHere({"shrink", scenario_, "--until", "crash", "--daemon", flaky, "-j", "1",
                                     "--output", folder_ / "out/short.scenario"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("the given scenario shows the condition in 1 of 3 runs"));
    EXPECT_EQ(contentOf(folder_ / "out/short.scenario"),
              "# Several settings; shrunk: --until crash\naudioctl speaker position\n");
    EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(Shrink, WrongInputIsRefused) {
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{"--until", "crush"}, "\"crush\" is not a condition. The conditions are:\n  crash "},
        {{"--until", "different:nosuch"}, "nosuch is not a program"},
        {{"--until", "crash", "--tries", "0"}, "--tries"},
        {{"--until", "crash", "--daemon", "nosuch"}, "--daemon"},
    };
    for (const auto& [options, message] : rows) {
        std::vector<std::string> arguments{"shrink", scenario_};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Outcome outcome = runHere(arguments);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr(message));
    }
}

TEST_F(Shrink, InterruptKeepsTheShortestScenario) {
    // A condition that waits after the first five runs: the given scenario's, and those of two candidates.
    const std::string slow = "command:echo >>\"" + folder_.path() + "/runs\"; test $(wc -l <\"" +
                             folder_.path() + "/runs\") -le 4 || sleep 20";
    const std::string output = folder_ / "out/short.scenario";
    RunningProgram shrink(commandLine({"shrink", scenario_, "--until", slow, "-j", "1", "--output", output}),
                          variables());
    EXPECT_TRUE(becomesTrue([&] { return contentOf(folder_ / "runs") == "\n\n\n\n\n"; }));
    kill(shrink.pid(), SIGINT);
    EXPECT_EQ(shrink.wait(), 1);
    EXPECT_THAT(shrink.err(), HasSubstr("interrupted; the scenario is the shortest so far"));
    EXPECT_THAT(contentOf(output),
                HasSubstr("audioctl speaker position\ntv fault getParameters delay=3000 7\n"));
    EXPECT_EQ(contentOf(output).find("room.json"), std::string::npos);
    EXPECT_TRUE(becomesTrue([&] { return processesOn(scratch_ + "/").empty(); }));
    EXPECT_THAT(leftBehind(), IsEmpty());
}

}  // namespace
}  // namespace hidlaudio::test
