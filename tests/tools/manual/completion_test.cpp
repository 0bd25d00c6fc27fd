// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <map>
#include <sstream>

#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

using Words = std::vector<std::string>;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

const std::map<std::string, std::string> kPrograms = {
    {"audioctl", AUDIOCTL}, {"tv", TV}, {"tv_stress", TV_STRESS}};

/** Completes the last word in the same way as bash when the user presses the Tab key. */
constexpr char kBash[] = R"bash(
    set -eu
    source "$1" && shift
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _hidlaudio "$1"
    printf '%s\n' "${COMPREPLY[@]}"
)bash";

/** Returns the completions of the last word. */
Words inBash(const Words& typed) {
    Words command{"/bin/bash", "--norc", "-c", kBash, "bash", COMPLETION, kPrograms.at(typed[0])};
    command.insert(command.end(), typed.begin() + 1, typed.end());
    const Outcome outcome = runProgram(command);
    EXPECT_EQ(outcome.status, 0) << testing::PrintToString(typed) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    std::istringstream lines(outcome.out);
    Words offered;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) offered.push_back(line);
    }
    return offered;
}

TEST(Bash, CompletesCommandsOptionsAndValues) {
    const std::pair<Words, Words> cases[] = {
        {{"audioctl", "hdmi", ""}, {"get", "set", "watch"}},
        {{"audioctl", "--json", "ex"}, {"external"}},
        {{"audioctl", "external", "--timeout", "5", "se"}, {"set"}},
        {{"audioctl", "external", "set", "--", "o"}, {"off", "on"}},
        {{"audioctl", "external", "set", "on", ""}, {}},
        {{"audioctl", "virtualizer", "upload", "--chunk", "9", "h"}, {"hrtf"}},
        {{"audioctl", "hdmi", "get", "--t"}, {"--timeout", "--tv"}},
        {{"audioctl", "--timeout", ""}, {}},
        {{"tv", "init", "--model", "=", "s"}, {"standard"}},
        {{"tv", "init", "--model", "="}, {"be", "standard"}},
        {{"tv", "bectrl", "hrtf", "ha"}, {"hang"}},
        {{"tv_stress", "sweep", "--fl"}, {"--flagged"}},
        {{"audioctl", "center", "show", "x", ""}, {}},
    };
    for (const auto& [typed, offered] : cases)
        EXPECT_THAT(inBash(typed), UnorderedElementsAreArray(offered)) << testing::PrintToString(typed);
}

TEST(Bash, CompletesFilesAndFolders) {
    const PrivateFolder folder;
    makeFile(folder / "set with a space.bin");
    std::filesystem::create_directory(folder / "sets");
    const std::string begin = folder / "se";
    EXPECT_THAT(inBash({"audioctl", "virtualizer", "upload", "device", begin}),
                UnorderedElementsAre(folder / "set with a space.bin", folder / "sets"));
    EXPECT_THAT(inBash({"tv", "show", "--tv", begin}), ElementsAre(folder / "sets"));
    EXPECT_THAT(inBash({"tv", "--tv", "=", begin}), ElementsAre(folder / "sets"));
}

}  // namespace
}  // namespace hidlaudio::test
