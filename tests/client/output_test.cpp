// SPDX-License-Identifier: Apache-2.0
#include <signal.h>

#include "audioctl.h"
#include "tests/support/process_state.h"
#include "tests/support/run_redirected.h"

namespace hidlaudio::test {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

using AudioctlOutput = AudioctlTv;

TEST_F(AudioctlOutput, FailedWriteIsAnError) {
    makeFile(tv_ / "room", "GraphicEQ: 20 1");
    makeFile(tv_ / "set", "parameters");
    std::filesystem::create_symlink("/dev/full", tv_ / "full");
    const auto daemon = startDaemon();
    EXPECT_EQ(run({"calibration", "load", tv_ / "room", "--json"}).status, 0);
    const Words commands[] = {
        {"--help"},
        {"--version"},
        {"hdmi", "--help"},
        {"calibration", "load", "--help"},
        {"list"},
        {"list", "--json"},
        {"wait", "--json"},
        {"ping", "-n", "1"},
        {"dump"},
        {"dump", "external", "--json"},
        {"dump", "--all", "--output", "-"},
        {"dump", "--all", "--output", tv_ / "report", "--json"},
        {"hdmi", "get"},
        {"external", "get"},
        {"external", "set", "off", "--json"},
        {"external", "format", "--json"},
        {"external", "formats", "--json"},
        {"speaker", "surround"},
        {"speaker", "position"},
        {"speaker", "delay"},
        {"calibration", "status"},
        {"calibration", "on", "--json"},
        {"calibration", "save"},
        {"calibration", "save", "-"},
        {"calibration", "save", tv_ / "room.json", "--json"},
        {"calibration", "plot"},
        {"calibration", "plot", "--svg", "-"},
        {"calibration", "parameters"},
        {"calibration", "smooth-delay"},
        {"calibration", "load", tv_ / "room"},
        {"calibration", "load", tv_ / "room", "--dry-run", "--json"},
        {"center", "show"},
        {"virtualizer", "status"},
        {"virtualizer", "upmix"},
        {"virtualizer", "type"},
        {"virtualizer", "types", "--json"},
        {"virtualizer", "max-append"},
        {"virtualizer", "upload", "hrtf", tv_ / "set"},
        {"mic", "devices", "--json"},
    };
    for (const Words& command : commands) {
        RunningProgram program(commandLine(command), {}, "/dev/full");
        EXPECT_EQ(program.wait(), 1) << testing::PrintToString(command);
        EXPECT_THAT(program.err(), HasSubstr("standard output cannot be written"))
            << testing::PrintToString(command);
    }
    // Without output, no write can fail.
    EXPECT_EQ(RunningProgram(commandLine({"external", "set", "on"}), {}, "/dev/full").wait(), 0);
    for (const Words& command : {Words{"calibration", "save", tv_ / "full"},
                                 {"calibration", "plot", "--svg", tv_ / "full"},
                                 {"dump", "--all", "--output", tv_ / "full"}}) {
        const Outcome outcome = run(command);
        EXPECT_EQ(outcome.status, 1) << command[0];
        EXPECT_THAT(outcome.err, HasSubstr("full cannot be written: No space left")) << command[0];
        EXPECT_TRUE(std::filesystem::is_symlink(tv_ / "full")) << command[0];
    }
}

TEST_F(AudioctlOutput, NamedDescriptorIsWritten) {
    const auto daemon = startDaemon();
    EXPECT_EQ(run({"calibration", "save", "-"}).out, "[]\n");
    EXPECT_FALSE(std::filesystem::exists("-"));
    // Not /dev/stdout: a faulty program that runs as root would replace it.
    std::filesystem::create_symlink("/proc/self/fd/1", tv_ / "stdout");
    for (const std::string& path :
         {tv_ / "stdout", std::string("/dev/fd/1"), std::string("/proc/self/fd/1")}) {
        makeFile(tv_ / "log", "first\n");
        EXPECT_EQ(runRedirected(commandLine({"calibration", "save", path, "--json"}),
                                [&] { sendToFile(STDOUT_FILENO, tv_ / "log"); }),
                  0);
        EXPECT_EQ(contentOf(tv_ / "log"), "first\n[]\n{\"result\":0}\n") << path;
    }
    expectAll({{{"calibration", "save", ""}, 2, "", "must not be empty"},
               {{"calibration", "plot", "--svg", ""}, 2, "", "must not be empty"},
               {{"dump", "--all", "--output", ""}, 2, "", "must not be empty"}});
}

TEST_F(AudioctlOutput, ClosedStandardDescriptorsAreNotReusedByTransport) {
    if (HIDLAUDIO_EMULATED) GTEST_SKIP() << "the emulator opens its own files on the closed descriptors";
    const auto service = serve({"external"});
    struct Row {
        std::vector<int> closed;
        Words arguments;
        int status;
    };
    const Row rows[] = {
        {{0}, {"external", "get"}, 0},
        {{1}, {"external", "get"}, 1},
        {{2}, {"external", "get"}, 0},
        {{0, 1}, {"external", "get"}, 1},
        {{0, 1, 2}, {"list"}, 1},
        {{0, 1, 2}, {"external", "get"}, 1},
        {{2}, {"external", "formats"}, 0},  // prints only to standard error
        {{0, 1, 2}, {"external", "formats"}, 0},
        {{0, 1, 2}, {"external", "set", "on"}, 0},
        {{0, 1, 2}, {"external", "format", "refuse"}, 1},
    };
    for (const Row& row : rows) {
        const int status = runRedirected(commandLine(row.arguments), [&row] {
            for (const int fd : row.closed) close(fd);
        });
        EXPECT_EQ(status, row.status)
            << testing::PrintToString(row.closed) << testing::PrintToString(row.arguments);
    }
    for (const char* program : {AUDIO_HAL, DAEMON}) {
        const pid_t pid = fork();
        if (pid == 0) {
            for (const int fd : {0, 1, 2}) close(fd);
            execl(program, program, nullptr);
            _exit(127);
        }
        for (const char* fd : {"/fd/0", "/fd/1", "/fd/2"}) {
            std::error_code ignored;
            const std::string link = procFolder(pid) + fd;
            EXPECT_TRUE(becomesTrue([&] {
                return std::filesystem::read_symlink(link, ignored) == "/dev/null";
            })) << program
                << fd;
        }
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
}

TEST_F(AudioctlOutput, ClosedPipeEndsCommandWithoutMessage) {
    const auto daemon = startDaemon();
    for (const bool ignoresSignal : {false, true}) {
        for (const Words& command : {Words{"list"}, {"dump"}, {"--help"}, {"calibration", "save", "-"}}) {
            const int status = runRedirected(commandLine(command), [&] {
                signal(SIGPIPE, ignoresSignal ? SIG_IGN : SIG_DFL);
                sendToNobody(STDOUT_FILENO);
                sendToFile(STDERR_FILENO, tv_ / "errors");
            });
            EXPECT_EQ(status, ignoresSignal ? 1 : 128 + SIGPIPE) << command[0];
        }
    }
    EXPECT_THAT(contentOf(tv_ / "errors"), testing::Not(HasSubstr("cannot be written")));
}

}  // namespace
}  // namespace hidlaudio::test
