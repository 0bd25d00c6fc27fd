// SPDX-License-Identifier: Apache-2.0
#include "bash_completion.h"

#include "shell_word.h"

namespace hidlaudio::manual {
namespace {

/** What is typed lies in COMP_WORDS; the word at COMP_CWORD is to be completed. */
constexpr char kScript[] = R"bash(
# What the command takes: its commands, its options, those of them with a value.
_PROGRAM_command() {
    commands='' options='' valued=''
    case $1 in
@COMMANDS@    esac
}

# Offers what can stand for $2 of the command $1: an option's value, or the argument at that place.
_PROGRAM_value() {
    case "$1 $2" in
@VALUES@    esac
}

_PROGRAM_offer() {
    mapfile -t COMPREPLY < <(compgen "$@" -- "$current")
}

# compopt fails outside of a completion, as in a test.
_PROGRAM_paths() {
    compopt -o filenames 2>/dev/null || true
    _PROGRAM_offer "$1"
}

_PROGRAM_names() {
    local IFS=$' \t\n'
    _PROGRAM_offer -W "$*"
}

# Finds the command that was typed so far, the option that still lacks its value, and how
# many arguments there are. `--option=VALUE` comes as three words.
_PROGRAM_read() {
    local i word
    for ((i = 1; i < COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if [[ $word == = ]]; then
            continue
        elif [[ -n $option ]]; then
            option=''
        elif [[ -z $only && $word == -- ]]; then
            only=arguments
        elif [[ -z $only && $word == -* ]]; then
            if [[ " $valued " == *" $word "* ]]; then option=$word; fi
        elif [[ $place -eq 0 && " $commands " == *" $word "* ]]; then
            path+=" $word"
            _PROGRAM_command "$path"
        else
            ((++place))
        fi
    done
}

_PROGRAM() {
    local current=${COMP_WORDS[COMP_CWORD]} path='PROGRAM' option='' only='' place=0
    local commands options valued
    COMPREPLY=()
    _PROGRAM_command "$path"
    _PROGRAM_read
    [[ $current == = ]] && current=''
    if [[ -n $option ]]; then
        _PROGRAM_value "$path" "$option"
    elif [[ -z $only && $current == -* ]]; then
        _PROGRAM_names "$options"
    elif [[ -n $commands && $place -eq 0 ]]; then
        _PROGRAM_names "$commands"
    else
        _PROGRAM_value "$path" "$((place + 1))"
    fi
}

complete -F _PROGRAM PROGRAM
)bash";

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
}

/** The options of the command, which those above it accept as well. */
struct Accepted {
    std::vector<std::string> options;
    std::vector<std::string> valued;
};

void add(Accepted& accepted, const Argument& option) {
    for (const std::string& name : option.names) {
        accepted.options.push_back(name);
        if (!option.placeholder.empty()) accepted.valued.push_back(name);
    }
}

/** A branch for the command and each below it. */
std::string commandBranches(const Command& command, const Accepted& above) {
    Accepted accepted = command.takesOptionsFromAbove ? above : Accepted();
    Accepted below = accepted;
    for (const Argument& option : command.options) {
        add(accepted, option);
        if (!isHelp(option)) add(below, option);
    }
    std::vector<std::string> names;
    names.reserve(command.commands.size());
    for (const Command& child : command.commands) names.push_back(nameOf(child));
    std::string branches = "        " + shellWord(command.path) + ")\n";
    branches += "            commands=" + shellWord(joinWords(names)) + "\n";
    branches += "            options=" + shellWord(joinWords(accepted.options)) + "\n";
    branches += "            valued=" + shellWord(joinWords(accepted.valued)) + " ;;\n";
    for (const Command& child : command.commands) branches += commandBranches(child, below);
    return branches;
}

/** The call that offers the values; empty where there is nothing to offer. */
std::string offerOf(const std::string& program, const Argument& argument) {
    const std::string name = "_" + program;
    if (!valuesOf(argument).empty()) return name + "_names " + shellWord(joinWords(valuesOf(argument)));
    if (argument.kind == ValueKind::File) return name + "_paths -f";
    return argument.kind == ValueKind::Folder ? name + "_paths -d" : "";
}

std::string branch(const std::string& pattern, const std::string& offer) {
    return offer.empty() ? "" : "        " + pattern + ") " + offer + " ;;\n";
}

/** Those below first: what they have of their own comes before what they have from above. */
std::string valueBranches(const std::string& program, const Command& command) {
    std::string branches;
    for (const Command& child : command.commands) branches += valueBranches(program, child);
    for (size_t i = 0; i < command.arguments.size(); ++i) {
        const Argument& argument = command.arguments[i];
        const std::string place =
            shellWord(command.path + " ") + (argument.repeats ? "[0-9]*" : std::to_string(i + 1));
        branches += branch(place, offerOf(program, argument));
    }
    for (const Argument& option : command.options) {
        for (const std::string& name : option.names) {
            branches +=
                branch(shellWord(command.path) + "*" + shellWord(" " + name), offerOf(program, option));
        }
    }
    return branches;
}

}  // namespace

std::string bashCompletion(const Command& root) {
    std::string script = kScript;
    replaceAll(script, "PROGRAM", root.path);
    replaceAll(script, "@COMMANDS@", commandBranches(root, {}));
    replaceAll(script, "@VALUES@", valueBranches(root.path, root));
    return "# Completion of " + root.path + " in bash." + script;
}

}  // namespace hidlaudio::manual
