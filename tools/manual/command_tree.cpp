// SPDX-License-Identifier: Apache-2.0
#include "command_tree.h"

#include <algorithm>

namespace hidlaudio::manual {
namespace {

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string onOneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

/** Null where there is no such; the library tells that by throwing. */
const CLI::Validator* validatorAt(CLI::Option& option, int index) {
    try {
        return option.get_validator(index);
    } catch (const CLI::OptionNotFound&) {
        return nullptr;
    }
}

std::string complaintAbout(const std::string& value, const CLI::Validator& validator) {
    try {
        return validator(value);
    } catch (const CLI::Error& error) {
        return error.what();
    }
}

/**
 * The set of a CLI::IsMember; nothing for another check. A description that was taken
 * away from the help is no longer there, but its complaint always names the set.
 */
std::vector<std::string> membersOf(const CLI::Validator& validator) {
    const std::string stranger = "\x01";
    const std::string complaint = complaintAbout(stranger, validator);
    const std::string begin = stranger + " not in {";
    if (complaint.compare(0, begin.size(), begin) != 0 || complaint.back() != '}') return {};
    const std::string list = complaint.substr(begin.size(), complaint.size() - begin.size() - 1);
    const std::vector<std::string> members = CLI::detail::split(list, ',');
    const bool areMembers = std::all_of(
        members.begin(), members.end(),
        [&validator](const std::string& member) { return complaintAbout(member, validator).empty(); });
    return areMembers ? members : std::vector<std::string>();
}

std::vector<std::string> acceptedBy(CLI::Option& option) {
    std::vector<std::string> members;
    for (int i = 0; members.empty(); ++i) {
        const CLI::Validator* validator = validatorAt(option, i);
        if (validator == nullptr) break;
        members = membersOf(*validator);
    }
    return members;
}

/** The type's name comes with the descriptions of the checks, behind colons. */
std::string placeholderOf(const CLI::Option& option) {
    if (option.get_items_expected_max() == 0) return "";
    if (option.get_positional()) return option.get_name(true);
    const std::string type = option.get_type_name();
    return type.substr(0, type.find(':'));
}

ValueKind kindOf(const std::string& placeholder) {
    if (endsWith(placeholder, "FILE")) return ValueKind::File;
    return endsWith(placeholder, "DIR") ? ValueKind::Folder : ValueKind::Any;
}

std::vector<std::string> excludedBy(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const CLI::Option* other : option.get_excludes()) names.push_back(other->get_name());
    std::sort(names.begin(), names.end());
    return names;
}

Argument readArgument(CLI::Option& option) {
    Argument argument;
    for (const std::string& name : option.get_snames()) argument.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) argument.names.push_back("--" + name);
    argument.placeholder = placeholderOf(option);
    argument.help = onOneLine(option.get_description());
    argument.initial = option.get_default_str();
    argument.accepted = acceptedBy(option);
    argument.excluded = excludedBy(option);
    argument.kind = kindOf(argument.placeholder);
    argument.required = option.get_required();
    argument.repeats = option.get_items_expected_max() > 1;
    return argument;
}

Command readCommand(CLI::App& app, const std::string& path) {
    Command command;
    command.path = path;
    command.summary = app.get_description();
    command.notes = app.get_footer();
    command.needsCommand = app.get_require_subcommand_min() > 0;
    command.takesOptionsFromAbove = app.get_fallthrough();
    for (CLI::Option* option : app.get_options()) {
        if (option->get_group().empty()) continue;  // hidden from the help
        (option->get_positional() ? command.arguments : command.options).push_back(readArgument(*option));
    }
    for (CLI::App* child : app.get_subcommands(std::function<bool(CLI::App*)>())) {
        if (!child->get_group().empty())
            command.commands.push_back(readCommand(*child, path + " " + child->get_name()));
    }
    return command;
}

Command* find(Command& root, const std::string& path) {
    if (root.path == path) return &root;
    for (Command& child : root.commands) {
        if (Command* found = find(child, path)) return found;
    }
    return nullptr;
}

Argument* find(std::vector<Argument>& arguments, const std::string& placeholder) {
    const auto found = std::find_if(
        arguments.begin(), arguments.end(),
        [&placeholder](const Argument& argument) { return argument.placeholder == placeholder; });
    return found == arguments.end() ? nullptr : &*found;
}

}  // namespace

Command readCommandTree(CLI::App& app) {
    return readCommand(app, app.get_name());
}

bool isHelp(const Argument& option) {
    return std::find(option.names.begin(), option.names.end(), "--help") != option.names.end();
}

std::string nameOf(const Command& command) {
    return command.path.substr(command.path.rfind(' ') + 1);
}

const std::vector<std::string>& valuesOf(const Argument& argument) {
    return argument.accepted.empty() ? argument.suggested : argument.accepted;
}

bool addSuggestions(Command& root, const std::vector<Suggestion>& suggestions, std::string& problem) {
    for (const Suggestion& suggestion : suggestions) {
        Command* command = find(root, suggestion.path);
        Argument* argument = command == nullptr ? nullptr : find(command->arguments, suggestion.placeholder);
        if (argument == nullptr && command != nullptr)
            argument = find(command->options, suggestion.placeholder);
        if (argument == nullptr) {
            problem = "`" + suggestion.path + "` has no argument " + suggestion.placeholder;
            return false;
        }
        argument->suggested = suggestion.values;
    }
    return true;
}

}  // namespace hidlaudio::manual
