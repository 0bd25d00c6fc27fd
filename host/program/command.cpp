// SPDX-License-Identifier: Apache-2.0
#include "command.h"

#include <android-base/stringprintf.h>
#include <stdlib.h>

#include <CLI/CLI.hpp>
#include <utility>

#include "parse_number.h"

namespace hidlaudio::host {

Option Option::required() const {
    return Option(option_->required());
}

Option Option::check(std::function<std::string(const std::string&)> check) const {
    return Option(option_->check(std::move(check)));
}

Option Option::notEmpty() const {
    return check([](const std::string& given) { return given.empty() ? "must not be empty" : ""; });
}

// The checks of CLI11 accept NaN within any range and any text as a 64-bit number, and their messages differ
// between releases.
Option Option::number(double least, double most) const {
    return check([=](const std::string& given) -> std::string {
        // Not from_chars(), which Android 12 lacks for floating-point numbers. strtod() also reads white
        // space, a plus sign, hexadecimal numbers and names.
        const bool isDecimal = given.find_first_not_of("0123456789+-.eE") == given.npos && given[0] != '+';
        char* end = nullptr;
        const double value = strtod(given.c_str(), &end);
        if (isDecimal && !given.empty() && *end == '\0' && value >= least && value <= most) return "";
        return android::base::StringPrintf("\"%s\" is not a number from %g to %g", given.c_str(), least,
                                           most);
    });
}

Option Option::integer(uint64_t least, uint64_t most) const {
    return check([=](const std::string& given) {
        const std::optional<uint64_t> value = parseNumber<uint64_t>(given);
        return value && *value >= least && *value <= most
                   ? ""
                   : "\"" + given + "\" is not a number from " + std::to_string(least) + " to " +
                         std::to_string(most);
    });
}

Option Option::oneOf(std::vector<std::string> words) const {
    CLI::Validator check = CLI::IsMember(std::move(words));
    if (option_->get_positional()) check.description("");
    return Option(option_->check(check));
}

Option Option::existingFile() const {
    return Option(option_->check(CLI::ExistingFile));
}

Option Option::needs(Option other) const {
    return Option(option_->needs(other.option_));
}

Option Option::excludes(Option other) const {
    return Option(option_->excludes(other.option_));
}

Option Option::onceEach() const {
    return Option(option_->allow_extra_args(false));
}

Option Option::splitAt(char separator) const {
    return Option(option_->delimiter(separator));
}

Option Option::showsDefault() const {
    return Option(option_->capture_default_str());
}

std::optional<std::string> Option::given() const {
    return isGiven() ? std::optional(option_->results().front()) : std::nullopt;
}

bool Option::isGiven() const {
    return option_->count() > 0;
}

Command Command::addCommand(const std::string& name, const std::string& description) const {
    return Command(app_->add_subcommand(name, description));
}

Command Command::addHidden(const std::string& name) const {
    CLI::App* command = app_->add_subcommand(name)->group("");
    command->set_help_flag();
    return Command(command);
}

void Command::acceptAnything() const {
    app_->fallthrough(false)->prefix_command();
}

void Command::setFooter(const std::string& footer) const {
    app_->footer(footer);
}

void Command::setHelp(const std::string& about, std::initializer_list<const char*> statuses,
                      std::initializer_list<const char*> examples) const {
    std::string text = about + "\n\nExit status:";
    for (const char* status : statuses) text += std::string("\n  ") + status;
    text += examples.size() == 1 ? "\n\nExample:" : "\n\nExamples:";
    for (const char* example : examples) text += std::string("\n  ") + example;
    setFooter(text);
}

void Command::describe(const std::string& name, const std::string& description) const {
    app_->name(name);
    app_->description(description);
}

void Command::requireCommand() const {
    app_->require_subcommand(1);
}

void Command::acceptOptionsAnywhere() const {
    app_->fallthrough();
}

void Command::addVersion(const std::string& version) const {
    app_->set_version_flag("--version", version, "Print the version and exit");
}

void Command::onRun(std::function<void()> run) const {
    app_->callback(std::move(run));
}

Option Command::option(const char* names, const char* type, Variable variable, const char* help) const {
    // CLI11 itself would convert an empty text to `std::nullopt`.
    if (const auto* text = std::get_if<std::reference_wrapper<std::optional<std::string>>>(&variable))
        return option(names, type, [&value = text->get()](const std::string& given) { value = given; }, help);
    const auto add = [&](auto value) { return app_->add_option(names, value.get(), help)->type_name(type); };
    return Option(std::visit(add, variable));
}

Option Command::argument(const char* name, Variable variable, const char* help) const {
    return option(name, "", variable, help);
}

Option Command::flag(const char* names, bool& value, const char* help) const {
    return Option(app_->add_flag(names, value, help));
}

Option Command::argument(const char* name, const char* help) const {
    return option(name, "", [](const std::string&) {}, help);
}

Option Command::flag(const char* names, const std::string& help) const {
    return Option(app_->add_flag(names, help));
}

Option Command::option(const char* names, const char* type,
                       const std::function<void(const std::string&)>& use, const char* help) const {
    return Option(app_->add_option_function<std::string>(names, use, help)->type_name(type));
}

}  // namespace hidlaudio::host
