// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "tests/support/run_program.h"

namespace hidlaudio::test {

/** Returns the sorted names of the processes whose HIDLAUDIO_TV begins with `folder`. */
inline std::vector<std::string> processesOn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        if (contentOf(process.path() / "environ").find("HIDLAUDIO_TV=" + folder) != std::string::npos)
            names.push_back(contentOf(process.path() / "comm"));
    }
    std::sort(names.begin(), names.end());
    return names;
}

/** Splits a line at spaces. The word '' stands for an empty word. */
inline std::vector<std::string> wordsOf(const std::string& line) {
    std::istringstream text(line);
    std::vector<std::string> words;
    for (std::string word; text >> word;) words.push_back(word == "''" ? "" : word);
    return words;
}

/** Runs `tv` on the TV in subfolder "tv" of a private folder. */
class TvCommand : public testing::Test {
  protected:
    TvCommand() { host::setTvRoot(tv_); }

    Outcome run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), command_);
        return runProgram(std::move(arguments));
    }

    /** Creates the folder `bin`, for copies of programs, and links to what they need beside it. */
    void createBin() {
        const auto build = std::filesystem::path(TV_COMMAND).parent_path().parent_path();
        std::filesystem::create_directory(folder_ / "bin");
        for (const char* folder : {"lib", "share"})
            std::filesystem::create_directory_symlink(build / folder, folder_ / folder);
    }

    /** Runs a command that must succeed. Returns its output. */
    std::string mustRun(std::vector<std::string> arguments) {
        const Outcome outcome = run(std::move(arguments));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    }

    PrivateFolder folder_;
    const std::string tv_ = folder_ / "tv";
    std::string command_ = TV_COMMAND;
};

}  // namespace hidlaudio::test
