// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <sstream>

#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

using Words = std::vector<std::string>;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

const std::string kManual = std::string(MANUAL_FOLDER) + "/";

/** Does what bash does when the user presses the tabulator behind the last of the words. */
constexpr char kBash[] = R"bash(
    set -eu
    source "$1" && shift
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    spec=$(complete -p "$1")
    function=${spec#complete -F } function=${function% *}
    "$function" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    printf '%s\n' "${COMPREPLY[@]}"
)bash";

/** What bash offers for the last of the words. */
Words inBash(const Words& typed) {
    Words command{"/bin/bash", "--norc", "-c", kBash, "bash", kManual + typed[0] + ".bash"};
    command.insert(command.end(), typed.begin(), typed.end());
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
        {{"audioctl", "wait", "mic", "hdmi", "ext"}, {"external"}},
        {{"tv", "init", "--model", "=", "s"}, {"standard"}},
        {{"tv", "init", "--model", "="}, {"be", "standard"}},
        {{"tv", "bectrl", "hrtf", "ha"}, {"hang"}},
        {{"tv", "nonsense", ""}, {}},
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

/**
 * Types each line into a zsh on a terminal of its own, once that reads its keys; prints
 * what it shows for each, and a form feed.
 */
constexpr char kZsh[] = R"zsh(
    zmodload zsh/zpty
    zpty shell zsh -f -i
    zpty -w shell "PS1=; fpath=(${(q)1} \$fpath); autoload -Uz compinit; compinit -D -u; \
        zle-line-init() { print REA''DY }; zle -N zle-line-init; tell() { print DO''NE }; zle -N tell; \
        bindkey '^I' list-choices; bindkey '^X' tell"
    zpty -r -m shell shown '*READY*'
    for line in "${@:2}"; do
        zpty -w -n shell $'\x15'$line$'\t\x18'
        zpty -r -m shell shown '*DONE*'
        printf '%s\f' $shown
    done
)zsh";

TEST(Zsh, CompletesAsBashDoes) {
    if (runProgram({"/bin/sh", "-c", "command -v zsh"}).status != 0) GTEST_SKIP() << "zsh is not installed";
    const Outcome outcome =
        runProgram({"/usr/bin/timeout", "60", "zsh", "-fc", kZsh, "zsh", MANUAL_FOLDER, "audioctl hdmi ",
                    "audioctl --json external set o", "audioctl wait mic ", "tv init --model "});
    EXPECT_EQ(outcome.err, "");
    std::istringstream answers(outcome.out);
    for (const auto& [offered, notOffered] :
         {std::pair("watch", "mic"), {"off", "hrtf"}, {"virtualizer", "watch"}, {"standard", "hrtf"}}) {
        std::string shown;
        std::getline(answers, shown, '\f');
        EXPECT_THAT(shown, HasSubstr(offered));
        EXPECT_THAT(shown, Not(HasSubstr(notOffered)));
    }
}

}  // namespace
}  // namespace hidlaudio::test
