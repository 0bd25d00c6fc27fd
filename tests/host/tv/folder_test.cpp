// SPDX-License-Identifier: Apache-2.0
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <random>

#include "host/tv_files/folder_lock.h"
#include "tests/support/process_state.h"
#include "tv_command.h"

namespace hidlaudio::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace fs = std::filesystem;

/** Replaces files and folders of a TV with other file types. */
class Folder : public TvCommand {
  protected:
    Folder() { alarm(120); }
    ~Folder() override {
        alarm(0);
        run({"shutdown"});
    }

    /** Expects that every program refuses to start on the TV, with a message that contains `text`. */
    void expectNotStarted(const std::string& text) {
        for (const auto& command :
             {std::vector<std::string>{command_, "boot", "--background"}, {DAEMON}, {AUDIO_HAL}}) {
            const Outcome outcome = runProgram(command);
            EXPECT_NE(outcome.status, 0) << command[0];
            EXPECT_THAT(outcome.err, HasSubstr(text));
        }
    }

    /** Returns the error messages of the commands. None of them may block. */
    std::string messagesOf(const std::vector<std::vector<std::string>>& commands) {
        std::string messages;
        for (const auto& command : commands) messages += run(command).err;
        return messages;
    }

    static mode_t modeOf(const std::string& path) {
        struct stat status{};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }
};

TEST_F(Folder, WithIrregularFileIsRefused) {
    const std::string victim = folder_ / "victim";
    makeFile(victim, "precious");
    const std::function<bool(const std::string&)> kinds[] = {
        [](const std::string& path) { return mkfifo(path.c_str(), 0600) == 0; },
        [&](const std::string& path) { return symlink(victim.c_str(), path.c_str()) == 0; },
        [](const std::string& path) {
            makeFile(path);
            return truncate(path.c_str(), off_t{3} << 30) == 0;  // some file systems do not support this size
        },
    };
    for (const char* name :
         {"/data/vendor/tmp/recipe/aqda.bin", "/data/vendor/tovi/hidlaudio/aud_ac.data", "/tv.json",
          "/log/hidlaudio.log", "/run/hidlaudio.lock", "/run/hwbinder/.lock", "/power/wake_lock",
          "/soc/config/g_audio__tv_position", "/soc/eeprom.bin", "/soc/bectrl/custom_spec.log"}) {
        fs::remove_all(tv_);
        mustRun({"init"});
        for (const auto& place : kinds) {
            const std::string path = tv_ + name;
            fs::remove(path);
            if (!place(path)) continue;
            expectNotStarted(path);
            EXPECT_THAT(messagesOf({{"show"}, {"log"}, {"config", "g_audio__tv_position"}}), HasSubstr(path));
            EXPECT_EQ(contentOf(victim), "precious") << path;
            fs::remove(path);
        }
    }
    // The message also names a folder in place of a file.
    mustRun({"init", "--force"});
    for (const char* name : {"/run/hidlaudio.lock", "/log/hidlaudio.log"}) {
        fs::remove(tv_ + name);
        fs::create_directory(tv_ + name);
        EXPECT_THAT(run({"boot", "--background"}).err, HasSubstr(tv_ + name));
        fs::remove(tv_ + name);
    }
}

TEST_F(Folder, WritableByOtherUsersIsRefused) {
    mustRun({"init"});
    const bool isRoot = geteuid() == 0;
    for (const std::string& folder :
         {tv_, tv_ + "/run", tv_ + "/run/hwbinder", tv_ + "/soc/config", tv_ + "/data"}) {
        const mode_t before = modeOf(folder);
        const auto expectRefused = [&] {
            expectNotStarted(folder);
            EXPECT_THAT(messagesOf({{"show"}}), HasSubstr(folder));
            const Outcome list = runProgram({AUDIOCTL, "list"});
            if (folder.find("hwbinder") != std::string::npos) {
                EXPECT_NE(list.status, 0);
                EXPECT_THAT(list.err, HasSubstr(folder));
            }
        };
        for (const mode_t mode : {0775U, 0757U}) {
            chmod(folder.c_str(), mode);
            expectRefused();
            EXPECT_EQ(modeOf(folder), mode) << "the permissions are not changed";
        }
        if (folder == tv_) {
            EXPECT_THAT(run({"init", "--force"}).err, HasSubstr("other users can write to " + folder));
        }
        chmod(folder.c_str(), before);
        if (isRoot && chown(folder.c_str(), 12345, 0) == 0) {
            expectRefused();
            EXPECT_EQ(chown(folder.c_str(), 0, 0), 0);
        }
    }
    // A symbolic link in place of a folder of the TV is refused.
    fs::create_directory(folder_ / "other");
    chmod((folder_ / "other").c_str(), 0755);
    for (const char* name : {"/run/hwbinder", "/run", "/log"}) {
        fs::remove_all(tv_ + name);
        fs::create_directory_symlink(folder_ / "other", tv_ + name);
        expectNotStarted(tv_ + name);
        EXPECT_EQ(modeOf(folder_ / "other"), 0755U);
        EXPECT_TRUE(fs::is_empty(folder_ / "other")) << name;
        mustRun({"init", "--force"});
    }
    // The user's own symbolic link to the TV's root is accepted.
    fs::create_directory_symlink(tv_, folder_ / "link");
    mustRun({"show", "--tv", folder_ / "link"});
}

TEST_F(Folder, WithoutTvStaysUnchanged) {
    expectNotStarted(tv_ + " is not a TV");
    EXPECT_FALSE(fs::exists(tv_));
    fs::create_directory(tv_);
    EXPECT_EQ(runProgram({DAEMON}).status, 2);
    EXPECT_TRUE(fs::is_empty(tv_));
}

TEST_F(Folder, InitAndBootWaitForInitOfSameTv) {
    const auto suspended = [&](const std::vector<std::string>& arguments, const auto& change) {
        auto other = std::make_optional<host::FolderLock>(tv_);
        RunningProgram program(arguments);
        EXPECT_TRUE(fallsAsleep(program.pid()));
        change();
        other.reset();
        const int status = program.wait();
        return Outcome{status, program.out(), program.err()};
    };
    fs::create_directory(tv_);
    const Outcome init = suspended({command_, "init"}, [&] {
        EXPECT_TRUE(fs::is_empty(tv_));
        makeFile(tv_ + "/tv.json");
    });
    EXPECT_EQ(init.status, 1);
    EXPECT_THAT(init.err, HasSubstr("already holds a TV"));
    EXPECT_EQ(contentOf(tv_ + "/tv.json"), "");

    mustRun({"init", "--force"});
    const Outcome boot = suspended({command_, "boot", "--background"}, [&] { fs::remove(tv_ + "/tv.json"); });
    EXPECT_EQ(boot.status, 2);
    EXPECT_THAT(boot.err, HasSubstr("is not a TV"));
}

TEST_F(Folder, InitKilledAtAnyMomentLeavesNoTemporaryFile) {
    std::minstd_rand random(5);
    for (int i = 0; i < 40; ++i) {
        {
            const RunningProgram init({command_, "init"});
            usleep(std::uniform_int_distribution<useconds_t>(0, 8000)(random));
        }  // the destructor kills it
        if (!fs::exists(tv_)) continue;
        for (const auto& entry : fs::recursive_directory_iterator(tv_))
            EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
        fs::remove_all(tv_);
    }
}

TEST_F(Folder, ErrorMessagesNamePath) {
    mustRun({"init"});
    // The daemon maps its own paths below /data to the TV, but not that of the record.
    for (const std::string& record : {tv_ + "/none/calls", std::string("/data/none/calls")}) {
        const Outcome unrecorded = runProgram({DAEMON}, {"HIDLAUDIO_CALLS=" + record});
        EXPECT_EQ(unrecorded.status, 2);
        EXPECT_THAT(unrecorded.err, HasSubstr("HIDLAUDIO_CALLS=" + record + ": No such file or directory"));
    }

    // A folder that cannot be read is reported with its path.
    const auto expectNamed = [&](const char* folder, const Outcome& outcome) {
        EXPECT_NE(outcome.status, 0) << folder;
        EXPECT_THAT(outcome.err, HasSubstr(tv_ + folder));
    };
    for (const char* folder : {"/log", "/run/hwbinder"}) {
        fs::remove_all(tv_ + folder);
        makeFile(tv_ + folder);
    }
    expectNamed("/log", run({"log"}));
    expectNamed("/run/hwbinder", runProgram({AUDIOCTL, "list"}));
    expectNamed("/run/hwbinder", runProgram({AUDIOCTL, "external", "get"}));
}

}  // namespace
}  // namespace hidlaudio::test
