// SPDX-License-Identifier: Apache-2.0
// The TV's program, run on a workstation.
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "audioctl.h"
#include "client/tv/folder_contents.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class AudioctlForTv : public Audioctl {
  protected:
    /** Creates a program in a folder of programs, which is the only one in PATH. */
    void makeProgram(const std::string& name, const std::string& script) const {
        const std::string path = programs_ + "/" + name;
        makeFile(path, "#!/bin/sh\n" + script);
        EXPECT_EQ(chmod(path.c_str(), 0700), 0);
    }

    json report() const {
        const std::string file = tv_ / "report.json";
        RunningProgram program({AUDIOCTL_FOR_TV, "dump", "--all", "--output", file}, {"PATH=" + programs_});
        EXPECT_EQ(program.wait(), 0) << program.err();
        return json::parse(contentOf(file));
    }

    const std::string programs_ = tv_ / "programs";
};

TEST_F(AudioctlForTv, VirtualTvNeedsWorkstation) {
    for (const auto& [arguments, problem] :
         {std::pair(std::vector<std::string>{"monitor", "--service", "hdmi", "--json"},
                    "audioctl: monitor works on a workstation only\n"),
          {{"--tv", tv_ / "", "list"}, "--tv: works on a workstation only"}}) {
        std::vector<std::string> command = arguments;
        command.insert(command.begin(), AUDIOCTL_FOR_TV);
        const Outcome outcome = runProgram(command);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr(problem));
    }
    const Outcome outcome = runProgram({AUDIOCTL_FOR_TV, "external", "get"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("is not registered; `getprop init.svc.hidlaudio` prints"));
}

TEST_F(AudioctlForTv, BugReportHasLogAndPropertiesOfTv) {
    std::filesystem::create_directory(programs_);
    const json missing = report();
    EXPECT_THAT(missing["logs"]["logcat"]["error"],
                HasSubstr("logcat is not readable: logcat: No such file"));
    EXPECT_THAT(missing["tv_state"]["properties"]["error"], HasSubstr("getprop is not readable"));

    makeProgram("logcat", "[ \"$*\" = -d ] && echo first && echo second");
    makeProgram("getprop", "echo '[ro.name]: [value]'; exit 1");
    const json partial = report();
    EXPECT_EQ(partial["logs"]["logcat"], json::array({"first", "second"}));
    EXPECT_THAT(partial["tv_state"]["properties"]["error"], HasSubstr("getprop failed"));

    makeProgram("getprop", "echo '[ro.name]: [value]'");
    EXPECT_EQ(report()["tv_state"]["properties"], json::array({"[ro.name]: [value]"}));
    for (const auto& [part, folder] :
         {std::pair("daemon_files", "/data/vendor/tovi/hidlaudio"), {"driver", "/proc/driver/tovi_bectrl"}}) {
        if (std::filesystem::exists(folder)) continue;
        EXPECT_EQ(missing["tv_state"][part]["."]["error"],
                  std::string(folder) + " is not readable: No such file or directory");
    }
}

TEST_F(AudioctlForTv, FolderIsReadWithoutBlocking) {
    const std::string folder = tv_ / "folder";
    std::filesystem::create_directories(folder + "/audio/empty");
    makeFile(folder + "/text", "a line\n");
    makeFile(folder + "/audio/bytes", std::string("\1\xff\0", 3));
    makeFile(folder + "/large", std::string(70000, 'x'));
    ASSERT_EQ(mkfifo((folder + "/pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("text", folder + "/link");
    const std::string notRegular = " is not readable: it is not a regular file";
    EXPECT_EQ(json(client::readFolder(folder)), json({{"text", "a line\n"},
                                                      {"audio/bytes", {{"hex", "01ff00"}}},
                                                      {"large", std::string(65536, 'x')},
                                                      {"pipe", {{"error", folder + "/pipe" + notRegular}}},
                                                      {"link", {{"error", folder + "/link" + notRegular}}}}));
}

}  // namespace
}  // namespace hidlaudio::test
