// SPDX-License-Identifier: Apache-2.0
#include "zsh_completion.h"

#include <algorithm>
#include <iterator>

#include "shell_word.h"

namespace hidlaudio::manual {
namespace {

/** With a backslash before each of `specials`. */
std::string escaped(const std::string& text, const std::string& specials) {
    std::string result;
    for (const char c : text) {
        if (c == '\\' || specials.find(c) != std::string::npos) result += '\\';
        result += c;
    }
    return result;
}

std::string functionOf(const Command& command) {
    std::string name = "_" + command.path;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

/** What offers the values: "(on off)", "_files". */
std::string actionOf(const Argument& argument) {
    std::vector<std::string> values;
    for (const std::string& value : valuesOf(argument)) values.push_back(escaped(value, ":()'\" "));
    if (!values.empty()) return "(" + joinWords(values) + ")";
    if (argument.kind == ValueKind::File) return "_files";
    return argument.kind == ValueKind::Folder ? "_files -/" : "";
}

/** ":DIR:_files -/" */
std::string valueSpec(const Argument& argument) {
    return ":" + escaped(argument.placeholder, ":") + ":" + actionOf(argument);
}

/** A spec for each name, which names the others and what is excluded as what it goes not with. */
std::vector<std::string> optionSpecs(const Argument& option) {
    std::vector<std::string> others = option.names;
    std::copy_if(option.excluded.begin(), option.excluded.end(), std::back_inserter(others),
                 [](const std::string& other) { return other[0] == '-'; });
    std::vector<std::string> specs;
    for (const std::string& name : option.names) {
        std::string spec = "(" + joinWords(others) + ")" + name;
        // The value follows as a word of its own or behind an equals sign.
        if (!option.placeholder.empty() && name.compare(0, 2, "--") == 0) spec += "=";
        spec += "[" + escaped(option.help, "[]:") + "]";
        specs.push_back(shellWord(option.placeholder.empty() ? spec : spec + valueSpec(option)));
    }
    return specs;
}

std::string argumentSpec(const Argument& argument) {
    const std::string place = argument.repeats ? "*" : argument.required ? "" : ":";
    return shellWord(place + valueSpec(argument));
}

std::string specLines(const std::vector<std::string>& specs) {
    std::string lines;
    for (const std::string& spec : specs) lines += " \\\n        " + spec;
    return lines;
}

/** Completes the arguments of a command that has no commands. */
std::string leafBody(const Command& command, std::vector<std::string> specs) {
    for (const Argument& argument : command.arguments) specs.push_back(argumentSpec(argument));
    return "    _arguments -S -s" + specLines(specs) + "\n";
}

/** Completes the names of the commands, and what follows one of them. */
std::string groupBody(const Command& command, std::vector<std::string> specs) {
    specs.emplace_back("'1: :->command'");
    specs.emplace_back("'*:: :->rest'");
    std::string names;
    std::string branches;
    for (const Command& child : command.commands) {
        names += "                " + shellWord(escaped(nameOf(child), ":") + ":" + child.summary) + "\n";
        branches += "                " + nameOf(child) + ") " + functionOf(child) + " ;;\n";
    }
    return "    local curcontext=$curcontext state line\n    typeset -A opt_args\n"
           "    _arguments -C -S -s" +
           specLines(specs) +
           " && return\n"
           "    case $state in\n        command)\n            local -a commands=(\n" +
           names + "            )\n            _describe -t commands " +
           shellWord(command.path + " command") +
           " commands ;;\n        rest)\n            case $line[1] in\n" + branches +
           "            esac ;;\n    esac\n";
}

std::string functions(const Command& command, const std::vector<std::string>& above) {
    std::vector<std::string> all = command.takesOptionsFromAbove ? above : std::vector<std::string>();
    std::vector<std::string> below = all;
    for (const Argument& option : command.options) {
        const std::vector<std::string> specs = optionSpecs(option);
        all.insert(all.end(), specs.begin(), specs.end());
        if (!isHelp(option)) below.insert(below.end(), specs.begin(), specs.end());
    }
    std::string text = functionOf(command) + "() {\n";
    text += command.commands.empty() ? leafBody(command, all) : groupBody(command, all);
    text += "}\n\n";
    for (const Command& child : command.commands) text += functions(child, below);
    return text;
}

}  // namespace

std::string zshCompletion(const Command& root) {
    return "#compdef " + root.path + "\n\n" + functions(root, {}) + functionOf(root) + " \"$@\"\n";
}

}  // namespace hidlaudio::manual
