// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <set>

#include "host/tv_files/program_lock.h"
#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/** The tree that `cmake --install` creates, moved to another folder after the installation. */
class Installed : public testing::Test {
  protected:
    Installed() {
        const std::string first = folder_ / "first";
        const Outcome outcome =
            runProgram({CMAKE_COMMAND, "--install", BUILD_FOLDER, "--prefix", first, "--strip"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        fs::rename(first, prefix_);
        host::setTvRoot(folder_ / "tv");
    }
    ~Installed() override { run("tv", {"shutdown"}); }

    Outcome run(const std::string& program, const std::vector<std::string>& arguments) const {
        std::vector<std::string> words{prefix_ + "/bin/" + program};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return runProgram(std::move(words));
    }

    std::set<std::string> files() const {
        std::set<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(prefix_)) {
            if (!entry.is_directory()) found.insert(fs::relative(entry.path(), prefix_).string());
        }
        return found;
    }

    PrivateFolder folder_;
    const std::string prefix_ = folder_ / "moved";
};

TEST_F(Installed, MovedTreeRunsTv) {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"init"}, {"boot", "--background"}}) {
        const Outcome outcome = run("tv", command);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
    }
    EXPECT_EQ(run("audioctl", {"external", "get"}).out, "on\n");
    // The daemon is the installed program and uses the installed libraries.
    const std::string pid = std::to_string(host::programLockHolder("hidlaudio"));
    const std::string maps = contentOf("/proc/" + pid + "/maps");
    for (const char* file :
         {"/bin/hidlaudio", "/libhidlbase.so", "/libhost_middleware.so", "/libhost_power.so"})
        EXPECT_THAT(maps, HasSubstr(file));
    EXPECT_THAT(maps, Not(HasSubstr(BUILD_FOLDER "/lib/")));
    EXPECT_EQ(run("tv", {"shutdown"}).status, 0);
}

TEST(BuildTree, ProgramsLoadNoLibraryFromTheCurrentFolder) {
    const PrivateFolder folder;
    host::setTvRoot(folder / "tv");  // There is none: the daemon and the audio HAL refuse to run.
    for (const char* library : {"libc.so.6", "libstdc++.so.6", "libhidlbase.so"}) makeFile(folder / library);
    for (const char* program : {HIDLAUDIO, AUDIO_HAL, TV, TV_STRESS, AUDIOCTL}) {
        const Outcome outcome =
            runProgram({"/bin/sh", "-c", R"(cd "$1" && exec "$2" --version)", "sh", folder.path(), program});
        const bool needsTv = program == std::string(HIDLAUDIO) || program == std::string(AUDIO_HAL);
        EXPECT_EQ(outcome.status, needsTv ? 2 : 0) << program << ": " << outcome.err;
    }
}

TEST_F(Installed, TreeHasExpectedFilesAndNoTestFiles) {
    std::set<std::string> found = files();
    // These two are for users' tests.
    for (const char* file : {"lib/python3/dist-packages/hidlaudio/pytest_plugin.py",
                             "share/doc/hidlaudio/docs/test_examples.py"})
        EXPECT_EQ(found.erase(file), 1U) << file;
    for (const char* file :
         {"bin/tv", "share/bash-completion/completions/tv", "share/doc/hidlaudio/README.md",
          "share/doc/hidlaudio/examples/java/build.gradle", "share/hidlaudio/scenarios/restart.scenario",
          "share/man/man8/hidlaudio.8.gz"})
        EXPECT_EQ(found.count(file), 1U) << file;
    for (const std::string& file : found) {
        if (file.find("share/doc/hidlaudio/examples/") == 0) continue;  // with the tests of the example
        EXPECT_THAT(file, Not(testing::AnyOf(HasSubstr("test"), HasSubstr("probe"), HasSubstr("fake"),
                                             testing::EndsWith(".a"), testing::EndsWith(".h"))));
    }
}

}  // namespace
}  // namespace hidlaudio::test
