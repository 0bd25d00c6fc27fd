// SPDX-License-Identifier: Apache-2.0
#include <signal.h>

#include "tests/support/run_redirected.h"
#include "tv_command.h"

namespace hidlaudio::test {
namespace {

using testing::HasSubstr;

namespace fs = std::filesystem;

class ReplayCommand : public TvCommand {
  protected:
    ReplayCommand() {
        makeFile(scenario_, "audioctl external get\n");
        fs::create_directory(temporary_);
    }

    const std::string scenario_ = folder_ / "one.scenario";
    const std::string temporary_ = folder_ / "tmp";
};

TEST_F(ReplayCommand, TemporaryFolderMayBeRelativeButMustExist) {
    const std::string output = folder_ / "output";
    const std::tuple<const char*, int, const char*> places[] = {
        {".", 0, "no violation"}, {"none", 1, "cannot create a temporary folder"}};
    for (const auto& [place, status, text] : places) {
        fs::remove(output);
        EXPECT_EQ(runRedirected({command_, "replay", scenario_},
                                [&, value = place] {
                                    if (chdir(temporary_.c_str()) != 0) _exit(126);
                                    setenv("TMPDIR", value, 1);
                                    sendToFile(STDOUT_FILENO, output);
                                    sendToFile(STDERR_FILENO, output);
                                }),
                  status)
            << place;
        EXPECT_THAT(contentOf(output), HasSubstr(text));
        EXPECT_TRUE(fs::is_empty(temporary_)) << place;
    }
}

TEST_F(ReplayCommand, SecondSignalLeavesNoFolder) {
    const std::string waiting = folder_ / "daemon";
    makeFile(waiting, "#!/bin/sh\necho >\"${0%/*}/started\"\nexec sleep 1000\n");
    fs::permissions(waiting, fs::perms::owner_all);
    RunningProgram replay({command_, "replay", scenario_, "--daemon", waiting}, {"TMPDIR=" + temporary_});
    ASSERT_TRUE(becomesTrue([&] { return fs::exists(folder_ / "started"); }));
    suspend(replay);
    for (const int signal : {SIGINT, SIGTERM, SIGCONT}) kill(replay.pid(), signal);
    replay.wait();
    EXPECT_THAT(replay.err(), HasSubstr("interrupted"));
    EXPECT_TRUE(fs::is_empty(temporary_));
}

}  // namespace
}  // namespace hidlaudio::test
