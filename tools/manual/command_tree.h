// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace hidlaudio::manual {

/** What stands for a value where the tree has no fixed set of them. */
enum class ValueKind { Any, File, Folder };

/** An option, or an argument that has a place instead of a name. */
struct Argument {
    std::vector<std::string> names;      // "-f", "--follow"; none for an argument that has a place
    std::string placeholder;             // stands for the value in help texts; empty for a flag
    std::string help;                    // one paragraph
    std::string initial;                 // the value where none is given; empty where help tells
    std::vector<std::string> accepted;   // all that is accepted; empty where that is no fixed set
    std::vector<std::string> suggested;  // some of what is accepted
    std::vector<std::string> excluded;   // the options that it cannot stand beside
    ValueKind kind = ValueKind::Any;
    bool required = false;
    bool repeats = false;  // takes all values to the end of the line
};

/** A command with all below it, as the user sees it. */
struct Command {
    std::string path;  // "audioctl hdmi set"
    std::string summary;
    std::string notes;  // the help's last part; its indented lines are to be shown as they are
    std::vector<Argument> options;
    std::vector<Argument> arguments;
    std::vector<Command> commands;
    bool needsCommand = false;
    bool takesOptionsFromAbove = false;  // all but --help, which each has
};

/** What the tree cannot tell: values that a check of the program's own takes. */
struct Suggestion {
    std::string path;         // "audioctl ping"
    std::string placeholder;  // "SERVICE"
    std::vector<std::string> values;
};

/**
 * Reads the tree of a program; its checks are called, nothing is parsed. A placeholder
 * FILE or DIR, alone or at the end of another word (OUTFILE), asks for the name of one.
 */
Command readCommandTree(CLI::App& app);

/** Whether it is --help, which each command has for itself. */
bool isHelp(const Argument& option);

/** The last word of the command's path. */
std::string nameOf(const Command& command);

/** What a completion offers for the argument's value. */
const std::vector<std::string>& valuesOf(const Argument& argument);

/**
 * Adds the suggestions. False with `problem` where one names an argument that is not
 * there: it was renamed or is gone.
 */
[[nodiscard]] bool addSuggestions(Command& root, const std::vector<Suggestion>& suggestions,
                                  std::string& problem);

}  // namespace hidlaudio::manual
