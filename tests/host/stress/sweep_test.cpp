// SPDX-License-Identifier: Apache-2.0
#include <signal.h>

#include <nlohmann/json.hpp>

#include "scratch_command.h"
#include "tests/support/becomes_true.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kTiny[] =
    "# Forced encoding is switched off\n"
    "\n"
    "tv init --model standard\n"
    "audioctl external set off --timeout 2\n";

class Sweep : public ScratchCommand {
  protected:
    std::string scenario(const std::string& text) {
        makeFile(folder_ / "tiny.scenario", text);
        return folder_ / "tiny.scenario";
    }
};

/** Returns the result of one fault on the first call of this name. */
json rowOf(const json& sweep, const std::string& call, const std::string& fault) {
    for (const json& row : sweep[0]["faults"]) {
        if (row["call"] == call && row["fault"] == fault) return row;
    }
    ADD_FAILURE() << "no " << fault << " on " << call;
    return {};
}

TEST_F(Sweep, ReportsDifferencesOfEachFault) {
    const Outcome outcome = runHere({"sweep", scenario(kTiny), "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(outcome.err, "");
    const json sweep = json::parse(outcome.out, nullptr, false);
    ASSERT_EQ(sweep.size(), 1U);
    EXPECT_EQ(sweep[0]["flagged"], 0);
    EXPECT_EQ(sweep[0]["calls"], 4)
        << "a write to the configuration store; open, write and close of the file";

    const json refused = rowOf(sweep, "a_mtktvapi_config_set_value", "-1");
    EXPECT_EQ(refused["target"], "g_audio__bitstream_output_mode");
    EXPECT_EQ(refused["client"]["line"], 4);
    EXPECT_EQ(refused["client"]["status"], 1);
    EXPECT_THAT(refused["log"].dump(), HasSubstr("MTKTVAPI failed:ret = -1"));

    const json unopened = rowOf(sweep, "open", "EACCES");
    EXPECT_EQ(unopened["client"]["line"], 0) << "the client does not notice the fault";
    EXPECT_THAT(unopened["log"].dump(), HasSubstr("errno 13"));
    EXPECT_EQ(unopened["files"].dump(),
              json::parse(R"([{"path": "/data/vendor/tovi/hidlaudio/bitstream_output_mode.data",
        "is": "empty", "was": "02000000"}])")
                  .dump());

    const json killed = rowOf(sweep, "write", "dies");
    EXPECT_EQ(killed["client"]["status"], 3);
    EXPECT_EQ(killed["files"].size(), 2U) << "the restarted daemon applies the old mode from the file";
    for (const json& row : sweep[0]["faults"]) EXPECT_TRUE(row["injected"]) << row;
    EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(Sweep, ViolationsAreFlagged) {
    useScript(
        "stored=$HIDLAUDIO_TV/data/vendor/tovi/hidlaudio/bitstream_output_mode.data\n"
        "case $HIDLAUDIO_FAULT in\n"
        "open:*:ENOENT) exec 9</dev/null ;;\n"
        "open:*:EACCES) kill -ABRT $$ ;;\n"
        "open:*:EMFILE) echo HidlAudioHrtf >\"$HIDLAUDIO_TV/power/wake_lock\" ;;\n"
        "open:*:ENOSPC) printf 12345 >\"$stored\" ;;\n"
        "open:*:EINTR) echo a report >&2 ;;\n"
        "write:*:EIO) export HIDLAUDIO_FAULT=write:2:dies ;;\n"
        "write:*:ENOSPC) export HIDLAUDIO_FAULT=write:2:delay=1000000 ;;\n"
        "esac\n"
        "exec " RUN_DAEMON "\n");
    const Outcome outcome = runHere({"sweep", scenario(kTiny), "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("7 runs were flagged"));
    const json sweep = json::parse(outcome.out, nullptr, false);
    const std::tuple<const char*, const char*, const char*> flags[] = {
        {"open", "ENOENT", "descriptors, allowed"},
        {"open", "EACCES", "start: hidlaudio was ended by signal 6"},
        {"open", "EMFILE", "the wake lock HidlAudioHrtf is held"},
        {"open", "ENOSPC", "bitstream_output_mode.data must be"},
        {"open", "EINTR", "output: a report"},
        {"write", "EIO", "crash: the daemon was ended by signal 9"},
        {"write", "ENOSPC", "hang: no answer to `audioctl external set off"},
    };
    for (const auto& [call, fault, text] : flags)
        EXPECT_THAT(rowOf(sweep, call, fault)["flags"].dump(), HasSubstr(text));
    EXPECT_THAT(rowOf(sweep, "open", "delay=22000")["flags"], IsEmpty());
    EXPECT_THAT(leftBehind(), IsEmpty());
}

/**
 * Returns whether a process runs whose HIDLAUDIO_TV begins with `folder` and whose command ends with `end`.
 */
bool anyProcessOn(const std::string& folder, const std::string& end = "") {
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        const std::string command = contentOf(process.path() / "cmdline");
        if (contentOf(process.path() / "environ").find("HIDLAUDIO_TV=" + folder) != std::string::npos &&
            command.find(end + '\0') != std::string::npos)
            return true;
    }
    return false;
}

TEST_F(Sweep, FlaggedRunsAreShrunk) {
    useScript(
        "! grep -qs ^1 \"$HIDLAUDIO_TV/soc/faults/a_mtktvapi_config_set_value\" || kill -ABRT $$\n"
        "case $HIDLAUDIO_FAULT in open:*:EINTR) kill -ABRT $$ ;; esac\n"
        "exec " RUN_DAEMON "\n");
    const std::string found = folder_ / "found/";
    const std::string path = scenario(
        "# Forced encoding is switched off\n"
        "tv init --model standard\n"
        "client a IOutputExternal.setForceEncodingEnabled {\"enable\": false}\n");
    const Outcome outcome = runHere({"sweep", path, "--flagged", "--shrink", found});
    EXPECT_EQ(outcome.status, 1);
    const std::string shrunk =
        "# Forced encoding is switched off; shrunk: --until problem:start: hidlaudio was ended by signal 6 "
        "(Aborted)\n"
        "tv fault a_mtktvapi_config_set_value 1\n"
        "tv boot\n";
    EXPECT_EQ(contentOf(found + "tiny-a_mtktvapi_config_set_value-0-2-1.scenario"), shrunk);
    EXPECT_THAT(outcome.err, HasSubstr("EINTR.scenario: skipped, `tv fault` does not reproduce: start: "));
    EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(Sweep, InterruptOrKillLeavesNoProcess) {
    const std::string path = scenario(kTiny);
    for (const int signal : {SIGINT, SIGKILL}) {
        RunningProgram sweep(commandLine({"sweep", path}), variables());
        // Wait for the daemon of the baseline run.
        EXPECT_TRUE(becomesTrue([&] { return anyProcessOn(scratch_ + "/", "/hidlaudio"); }));
        kill(sweep.pid(), signal);
        EXPECT_EQ(sweep.wait(), signal == SIGINT ? 1 : 128 + SIGKILL);
        if (signal == SIGINT) {
            EXPECT_THAT(leftBehind(), IsEmpty());
        }
        EXPECT_TRUE(becomesTrue([&] { return processesOn(scratch_ + "/").empty(); }));
    }
}

class Soak : public ScratchCommand {};

TEST_F(Soak, PassesAndLeavesNoFile) {
    for (const char* option : {"--clients=3", "--restarts"}) {
        // The clock is slow enough for an emulated daemon on a busy machine.
        const Outcome outcome = runHere({"soak", "--hours", "0.04", "--speed", "60", "--seed", "7", option});
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        EXPECT_THAT(outcome.out, AllOf(HasSubstr("0.04 h of TV time: "), HasSubstr("idle daemon: ")));
    }
    EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(Soak, ViolationsAreReported) {
    const std::pair<const char*, const char*> daemons[] = {
        {"exit 1", "! hidlaudio ended with status 1\n"},
        {"HIDLAUDIO_FAULT=write:4:dies exec " RUN_DAEMON, "! crash: the daemon was ended by signal 9"},
        {"echo Stray >>\"$HIDLAUDIO_TV/power/wake_lock\"; exec " RUN_DAEMON,
         "! state: the wake lock Stray is held"},
    };
    for (const auto& [script, problem] : daemons) {
        useScript(script);
        const Outcome outcome = runHere({"soak", "--hours", "0.05", "--seed", "1"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.out, HasSubstr(problem));
    }
}

TEST_F(ScratchCommand, NumberOutOfRangeIsRefused) {
    for (const char* right : {"soak --plan 1 --hours 1e5", "soak --plan 1 --seed 18446744073709551615",
                              "soak --plan 1 --speed 1000 --clients 1", "sweep --list --jobs 1000"}) {
        EXPECT_EQ(run(wordsOf(right)).status, 0) << right;
    }
    for (const char* wrong : {"soak --plan 1 --hours nan", "soak --plan 1 --hours 1e999",
                              "soak --plan 1 --seed -1", "soak --plan 1 --speed 1001",
                              "soak --plan 1 --clients 1.5", "soak --plan ''", "sweep --list --jobs 0"}) {
        EXPECT_EQ(run(wordsOf(wrong)).status, 2) << wrong;
    }
}

}  // namespace
}  // namespace hidlaudio::test
