// SPDX-License-Identifier: Apache-2.0
#include "man_page.h"

#include <algorithm>
#include <sstream>

#include "roff.h"

namespace hidlaudio::manual {
namespace {

constexpr char kExitStatus[] = "Exit status:\n";

/** The paragraphs that `choose` takes, with an empty line between them. */
template <typename Choose>
std::string chosenParagraphs(const std::string& notes, Choose choose) {
    std::string result;
    for (size_t at = 0; at < notes.size();) {
        const size_t end = std::min(notes.find("\n\n", at), notes.size());
        const std::string paragraph = notes.substr(at, end - at);
        if (choose(paragraph)) result += (result.empty() ? "" : "\n\n") + paragraph;
        at = end + 2;
    }
    return result;
}

bool isExitStatus(const std::string& paragraph) {
    return paragraph.compare(0, sizeof(kExitStatus) - 1, kExitStatus) == 0;
}

/** All but what has its own section, and what sends the reader to the help: he reads it all here. */
std::string notesOf(const Command& command) {
    return paragraphs(chosenParagraphs(command.notes, [](const std::string& paragraph) {
        return !isExitStatus(paragraph) && paragraph.find("--help`") == std::string::npos;
    }));
}

/** What is typed as it is, such as on|off, from what stands for something. */
std::string placeholder(const std::string& name) {
    const bool isTyped = std::none_of(name.begin(), name.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    return isTyped ? bold(name) : italic(name);
}

std::string inBrackets(const std::string& name, const std::string& formatted) {
    return name[0] == '[' ? formatted : "[" + formatted + "]";
}

std::string synopsis(const Command& command) {
    std::string line = bold(command.path);
    if (!command.options.empty()) line += " [" + italic("OPTION") + "]\\|.\\|.\\|.";
    for (const Argument& argument : command.arguments) {
        const std::string formatted = placeholder(argument.placeholder);
        line += " " + (argument.required ? formatted : inBrackets(argument.placeholder, formatted));
        if (argument.repeats) line += "\\|.\\|.\\|.";
    }
    if (!command.commands.empty()) {
        line += " " + (command.needsCommand ? italic("COMMAND") : "[" + italic("COMMAND") + "]");
        line += " [" + italic("ARGUMENT") + "]\\|.\\|.\\|.";
    }
    return line + "\n";
}

std::string joined(const std::vector<std::string>& words) {
    std::string result;
    for (const std::string& word : words) result += (result.empty() ? "" : ", ") + ("`" + word + "`");
    return result;
}

std::string heading(const Argument& argument) {
    std::string line;
    for (const std::string& name : argument.names) line += (line.empty() ? "" : ", ") + bold(name);
    if (!argument.placeholder.empty()) line += (line.empty() ? "" : " ") + placeholder(argument.placeholder);
    return line + "\n";
}

std::string sentence(const std::string& text) {
    const bool ends = text.empty() || text.back() == '.' || text.back() == ':';
    return ends ? text : text + ".";
}

std::string describe(const Argument& argument) {
    std::string text = sentence(argument.help);
    if (!argument.accepted.empty()) text += " Accepted: " + joined(argument.accepted) + ".";
    if (!argument.initial.empty()) text += " Default: `" + argument.initial + "`.";
    if (!argument.excluded.empty()) text += " Not together with " + joined(argument.excluded) + ".";
    return ".TP\n" + heading(argument) + prose(text);
}

/** The command and all below it, without --help, which each has. */
std::string section(const Command& command) {
    std::string page =
        ".SS " + quoted(command.path) + "\n" + synopsis(command) + ".PP\n" + prose(sentence(command.summary));
    for (const Argument& argument : command.arguments) page += describe(argument);
    for (const Argument& option : command.options) {
        if (!isHelp(option)) page += describe(option);
    }
    page += notesOf(command);
    for (const Command& child : command.commands) page += section(child);
    return page;
}

std::string commandsBegin(const Command& root) {
    const auto takesThem = [](const Command& command) { return command.takesOptionsFromAbove; };
    const bool allTakeThem = std::all_of(root.commands.begin(), root.commands.end(), takesThem);
    const std::string text = allTakeThem ? "Each command takes the options above as well, and `--help`." : "";
    return ".SH COMMANDS\n" + prose(text);
}

/** "  0  done" a line. */
std::string exitStatuses(const std::string& notes) {
    std::istringstream lines(chosenParagraphs(notes, isExitStatus));
    std::string page;
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string status;
        std::string meaning;
        words >> status;
        std::getline(words, meaning);
        page += ".TP\n" + bold(status) + "\n" + prose(meaning);
    }
    return page.empty() ? page : ".SH EXIT STATUS\n" + page;
}

/** As a page's first line names a program: "does this". */
std::string inOneLine(const std::string& summary) {
    std::string text = summary;
    if (!text.empty() && text[0] >= 'A' && text[0] <= 'Z') text[0] = static_cast<char>(text[0] - 'A' + 'a');
    if (!text.empty() && text.back() == '.') text.pop_back();
    return text;
}

std::string titleLine(const std::string& name, const PageTitle& title) {
    std::string upper = name;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    // No hyphens within words, which may be names that somebody copies.
    return ".TH " + upper + " " + title.section + " \"" + title.date + "\" " + quoted(title.source) +
           "\n.nh\n.ad l\n";
}

}  // namespace

std::string manPage(const Command& root, const PageTitle& title, const std::string& end) {
    std::string page = titleLine(root.path, title);
    page += ".SH NAME\n" + prose(root.path + " - " + inOneLine(root.summary));
    page += ".SH SYNOPSIS\n" + synopsis(root);
    page += ".SH DESCRIPTION\n" + prose(sentence(root.summary)) + notesOf(root);
    page += ".SH OPTIONS\n";
    for (const Argument& option : root.options) page += describe(option);
    if (!root.commands.empty()) page += commandsBegin(root);
    for (const Command& command : root.commands) page += section(command);
    return page + exitStatuses(root.notes) + end;
}

}  // namespace hidlaudio::manual
