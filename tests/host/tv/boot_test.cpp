// SPDX-License-Identifier: Apache-2.0
#include <signal.h>

#include <optional>
#include <random>

#include "host/tv_files/program_lock.h"
#include "tests/support/becomes_true.h"
#include "tests/support/process_state.h"
#include "tv_command.h"

namespace hidlaudio::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/** Runs `tv` from a folder with the audio HAL, and with the daemon or a shell script in its place. */
class Boot : public TvCommand {
  protected:
    Boot() {
        createBin();
        std::filesystem::copy_file(command_, folder_ / "bin/tv");
        std::filesystem::copy_file(AUDIO_HAL, folder_ / "bin/audio_hal");
        command_ = folder_ / "bin/tv";
        mustRun({"init"});
    }
    ~Boot() override { run({"shutdown"}); }

    void useDaemon() { std::filesystem::copy_file(DAEMON, folder_ / "bin/hidlaudio"); }

    void useScript(const std::string& script, const std::string& program = "hidlaudio") {
        std::filesystem::remove(folder_ / ("bin/" + program));
        makeFile(folder_ / ("bin/" + program), "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(folder_ / ("bin/" + program), std::filesystem::perms::owner_all);
    }

    /** Returns the daemon's pid, or 0 if it is not running. */
    static pid_t daemon() { return host::programLockHolder("hidlaudio"); }

    /** Returns whether the process is running. A zombie that its new parent has not reaped is not running. */
    static bool runs(pid_t pid) {
        const std::string status = contentOf("/proc/" + std::to_string(pid) + "/status");
        return status != "(none)" && !status.empty() && status.find("State:\tZ") == std::string::npos;
    }
};

/** Prints one line to standard output and one to standard error, then keeps running. */
constexpr char kTalking[] = "echo out; echo err >&2; exec sleep 1000";

TEST_F(Boot, RunsTheDaemonUntilShutdown) {
    useDaemon();
    makeFile(tv_ + "/power/wake_lock", "HidlAudioHrtf\n");
    makeFile(tv_ + "/log/hidlaudio.log", "earlier\n");
    mustRun({"boot", "--background"});
    const pid_t pid = daemon();
    EXPECT_TRUE(runs(pid));
    EXPECT_EQ(getsid(pid), pid) << "the daemon needs its own session, or Ctrl-C in the shell would end it";
    EXPECT_THAT(
        contentOf(tv_ + "/run/hwbinder/services"),
        HasSubstr("\ncom.tovi.dtv.hardware.audio@3.1::IOutputExternal/default " + std::to_string(pid) + " "));
    EXPECT_THAT(mustRun({"show"}), HasSubstr("hidlaudio process " + std::to_string(pid)));
    EXPECT_THAT(mustRun({"log"}),
                AllOf(HasSubstr("earlier\n"), HasSubstr("HIDL server side: main() is called"),
                      HasSubstr("AudioHal: setParameters tv_position=table_top"),
                      Not(HasSubstr("load audio interface failed"))))
        << "the audio HAL must be registered before the daemon looks for it";
    EXPECT_EQ(contentOf(tv_ + "/power/wake_lock"), "");
    // The services read these values from the tuning file that `tv init` created.
    EXPECT_THAT(runProgram({AUDIOCTL, "center", "show"}).out, HasSubstr("type: 3\nlatency: 1024 samples"));
    EXPECT_THAT(runProgram({AUDIOCTL, "calibration", "parameters"}).out,
                AllOf(HasSubstr("intValue1    48000 "), HasSubstr("scaledValue7 -3.5\n")));

    for (const auto& arguments : {std::vector<std::string>{"boot", "--background"}, {"init", "--force"}}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr("running"));
    }
    EXPECT_THAT(mustRun({"shutdown"}), HasSubstr("hidlaudio stopped\naudio_hal stopped"));
    EXPECT_FALSE(runs(pid));
    EXPECT_EQ(daemon(), 0);
    EXPECT_THAT(mustRun({"shutdown"}), HasSubstr("no program was running"));
}

TEST_F(Boot, DaemonThatEndsIsReportedWithItsLog) {
    EXPECT_EQ(run({"boot"}).status, 1) << "the daemon's file does not exist";
    const std::pair<const char*, const char*> ends[] = {
        {"for i in 1 2 3 4 5 6 7 8 9 10 11 12; do echo line $i; done; exit 3", "ended with status 3"},
        {"echo line 12; kill -SEGV $$", "ended by signal 11"}};
    for (const auto& [script, how] : ends) {
        useScript(script);
        for (const bool background : {true, false}) {
            const Outcome outcome =
                background ? run({"boot", "--background", "--record", folder_ / "calls"}) : run({"boot"});
            EXPECT_EQ(outcome.status, 1) << how;
            EXPECT_FALSE(std::filesystem::exists(tv_ + "/properties/hal.instrumentation.enable")) << how;
            EXPECT_THAT(outcome.err, HasSubstr(how));
            EXPECT_THAT(background ? outcome.err : outcome.out, HasSubstr("line 12\n"));
            EXPECT_THAT(background ? outcome.err : "", Not(HasSubstr("line 2\n")))
                << "only the last lines are printed";
            EXPECT_EQ(daemon(), 0);
        }
    }
}

TEST_F(Boot, ForegroundShowsLogUntilInterrupted) {
    useScript(kTalking);
    makeFile(tv_ + "/log/hidlaudio.log", "earlier\n");
    for (const int signal : {SIGINT, SIGTERM}) {
        RunningProgram foreground({command_, "boot"});
        ASSERT_TRUE(becomesTrue([&] { return foreground.out() == "out\nerr\n"; }));
        const pid_t pid = daemon();
        kill(foreground.pid(), signal);
        EXPECT_EQ(foreground.wait(), 0) << foreground.err();
        EXPECT_FALSE(runs(pid));
    }
    // An interrupt during a background boot stops the daemon again.
    RunningProgram background({command_, "boot", "--background"});
    ASSERT_TRUE(becomesTrue([&] { return daemon() > 0; }));
    const pid_t pid = daemon();
    kill(background.pid(), SIGINT);
    EXPECT_EQ(background.wait(), 1);
    EXPECT_FALSE(runs(pid));
}

TEST_F(Boot, ShutdownElsewhereEndsForeground) {
    // This program ignores SIGTERM.
    useScript(std::string("trap '' TERM; ") + kTalking);
    RunningProgram follower({command_, "log", "-f"});
    RunningProgram foreground({command_, "boot"});
    ASSERT_TRUE(
        becomesTrue([&] { return foreground.out() == "out\nerr\n" && follower.out() == "out\nerr\n"; }));
    const pid_t pid = daemon();
    const Outcome outcome = run({"shutdown"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, HasSubstr("killed"));
    EXPECT_FALSE(runs(pid));
    EXPECT_EQ(foreground.wait(), 1);
    EXPECT_THAT(foreground.err(), HasSubstr("signal 9"));
    kill(follower.pid(), SIGINT);
    EXPECT_EQ(follower.wait(), 0);
}

TEST_F(Boot, LateForegroundKeepsProgramsOfNextBoot) {
    useDaemon();
    RunningProgram foreground({command_, "boot"});
    ASSERT_TRUE(becomesTrue([&] { return foreground.out().find("main() is called") != std::string::npos; }));
    suspend(foreground);
    mustRun({"shutdown"});
    mustRun({"boot", "--background"});
    const pid_t hal = host::programLockHolder("audio_hal"), pid = daemon();
    kill(foreground.pid(), SIGCONT);
    EXPECT_EQ(foreground.wait(), 0) << foreground.err();
    EXPECT_TRUE(runs(hal) && runs(pid));
    EXPECT_THAT(mustRun({"show"}), AllOf(HasSubstr("audio_hal process " + std::to_string(hal)),
                                         HasSubstr("hidlaudio process " + std::to_string(pid))));
}

TEST_F(Boot, DaemonIsNotStartedWithoutAudioHal) {
    useScript("echo >\"$HIDLAUDIO_TV/started\"; exec sleep 1000");
    useScript("echo broken; exit 3", "audio_hal");
    const std::string record = folder_ / "calls";
    for (const auto& arguments : {std::vector<std::string>{"boot", "--record", record},
                                  {"boot", "--background", "--record", record}}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, AllOf(HasSubstr("audio_hal ended with status 3"), HasSubstr("broken\n")));
        EXPECT_TRUE(std::filesystem::is_empty(tv_ + "/properties")) << "the record has ended too";
    }
    useScript("echo $$ >\"$HIDLAUDIO_TV/waiting\"; exec sleep 1000", "audio_hal");
    RunningProgram boot({command_, "boot"});
    ASSERT_TRUE(becomesTrue([&] { return std::atoi(contentOf(tv_ + "/waiting").c_str()) > 0; }));
    const pid_t hal = std::atoi(contentOf(tv_ + "/waiting").c_str());
    kill(boot.pid(), SIGINT);
    EXPECT_EQ(boot.wait(), 1);
    EXPECT_FALSE(runs(hal));
    EXPECT_EQ(contentOf(tv_ + "/started"), "(none)");
}

TEST_F(Boot, TimeoutNamesMissingServices) {
    // Long enough for the real audio HAL to start, also on a busy machine.
    const std::string seconds = HIDLAUDIO_EMULATED != 0 ? "5" : "2";
    const auto expectTimeout = [&](const std::string& reason) {
        const Outcome outcome = run({"boot", "--background", "--timeout", seconds});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err,
                    AllOf(HasSubstr(reason), HasSubstr("within " + seconds + " s"), HasSubstr("err\n")));
        EXPECT_THAT(mustRun({"shutdown"}), HasSubstr("no program was running"));
    };
    useScript(kTalking);
    expectTimeout("hidlaudio has not registered com.tovi.dtv.hardware.audio@1.1::IHdmiAudio/default and ");
    useScript(kTalking, "audio_hal");
    expectTimeout("audio_hal has not registered android.hardware.audio@5.0::IDevicesFactory/default within");
    for (const char* wrong : {"0", "x", "86401"}) EXPECT_EQ(run({"boot", "--timeout", wrong}).status, 2);
}

TEST_F(Boot, KillAtAnyMomentLeavesNoUntrackedProgram) {
    useDaemon();
    std::minstd_rand random(11);
    constexpr int kKills = HIDLAUDIO_EMULATED != 0 ? 6 : 40;
    for (int i = 0; i < kKills; ++i) {
        const bool background = i % 2 == 0;
        {
            std::vector<std::string> arguments{command_, "boot"};
            if (background) arguments.push_back("--background");
            const RunningProgram boot(arguments);
            usleep(std::uniform_int_distribution<useconds_t>(0, 30000)(random));
        }  // the destructor kills it
        if (!background) {
            EXPECT_TRUE(becomesTrue([&] { return processesOn(tv_).empty(); }))
                << "in the foreground, the programs end with `tv boot`";
        } else if (i % 4 == 0) {
            const Outcome next = run({"boot", "--background"});
            EXPECT_TRUE(next.status == 0 || next.err.find("already running") != std::string::npos)
                << next.err;
            EXPECT_THAT(processesOn(tv_), ElementsAre("audio_hal\n", "hidlaudio\n"));
        }
        mustRun({"shutdown"});
        EXPECT_TRUE(becomesTrue([&] { return processesOn(tv_).empty(); })) << "attempt " << i;
    }
}

TEST_F(Boot, ProgramsEndWhenTheTvIsDeleted) {
    useDaemon();
    for (const char* deleted : {"/run/hwbinder", "/run", ""}) {
        mustRun({"boot", "--background"});
        // The deletion is detected without an additional thread. The emulator has one of its own.
        EXPECT_EQ(countOf("task", daemon()), 1U + HIDLAUDIO_EMULATED);
        std::optional<RunningProgram> follower;
        if (std::string(deleted).empty()) follower.emplace(std::vector<std::string>{command_, "log", "-f"});
        if (follower) {
            EXPECT_TRUE(becomesTrue([&] { return !follower->out().empty(); }));
        }
        std::filesystem::remove_all(tv_ + deleted);
        // A process that ends is no longer listed a moment before it releases its lock.
        const auto ended = [&] {
            return processesOn(tv_).empty() && host::programLockHolder("audio_hal") == 0 && daemon() == 0;
        };
        EXPECT_TRUE(becomesTrue(ended)) << deleted;
    }
}

TEST_F(Boot, EndedProgramIsStartedAgainIfOrderAllows) {
    useDaemon();
    mustRun({"boot", "--background"});
    const pid_t hal = host::programLockHolder("audio_hal");
    const Outcome second = runProgram({DAEMON});
    EXPECT_EQ(second.status, 2);
    EXPECT_THAT(second.err, HasSubstr(" as process " + std::to_string(daemon())));

    const auto killProgram = [](const char* program) {
        const pid_t pid = host::programLockHolder(program);
        ASSERT_GT(pid, 0);
        kill(pid, SIGKILL);
        EXPECT_TRUE(becomesTrue([&] { return host::programLockHolder(program) == 0; }));
    };
    killProgram("hidlaudio");
    EXPECT_THAT(mustRun({"boot", "--background"}), HasSubstr("audio_hal was already running, process"));
    EXPECT_NE(daemon(), 0);
    EXPECT_EQ(host::programLockHolder("audio_hal"), hal);
    // The HAL cannot be started after the daemon, which looks for it only at its start.
    killProgram("audio_hal");
    const Outcome refused = run({"boot", "--background"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, AllOf(HasSubstr("audio_hal is not running"),
                                   HasSubstr("hidlaudio is process " + std::to_string(daemon()))));
    mustRun({"shutdown"});
    // In the foreground, `tv boot` also ends if a program ends that was already running.
    useScript("exec sleep 1000", "hidlaudio");
    RunningProgram hal2({AUDIO_HAL});
    ASSERT_TRUE(becomesTrue([&] { return host::programLockHolder("audio_hal") != 0; }));
    RunningProgram boot({command_, "boot"});
    ASSERT_TRUE(becomesTrue([&] { return daemon() != 0; }));
    kill(hal2.pid(), SIGKILL);
    hal2.wait();
    EXPECT_EQ(boot.wait(), 1);
    EXPECT_THAT(boot.err(), HasSubstr("audio_hal has ended"));
    EXPECT_THAT(processesOn(tv_), ElementsAre());
}

}  // namespace
}  // namespace hidlaudio::test
