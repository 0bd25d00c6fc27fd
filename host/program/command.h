// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace hidlaudio::host {

/**
 * The command lines of all programs, over CLI11. Only command.cpp and the files that parse a command line
 * include CLI11 itself: each file that does is compiled with a whole parser, which takes seconds.
 */

/** An option or an argument of a command. Copies stand for the same one, which its command owns. */
class Option {
  public:
    explicit Option(CLI::Option* option) : option_(option) {}

    Option required() const;
    /** Refuses a value if `check` returns an error message, and not an empty string. */
    Option check(std::function<std::string(const std::string&)> check) const;
    Option notEmpty() const;
    /** Accepts only a decimal number, or a whole one, from `least` to `most`. */
    Option number(double least, double most) const;
    Option integer(uint64_t least, uint64_t most) const;
    /** Accepts only these words. The help lists them after the type of an option, but not for an argument. */
    Option oneOf(std::vector<std::string> words) const;
    Option existingFile() const;
    Option needs(Option other) const;
    Option excludes(Option other) const;
    /** Each time that the option is given, it takes one value and not all words that follow. */
    Option onceEach() const;
    /** Divides each value at `separator`. */
    Option splitAt(char separator) const;
    /** The help shows the value that the variable has now. */
    Option showsDefault() const;

    /** After parsing: returns the first value, even if it is empty, or `std::nullopt` if none was given. */
    std::optional<std::string> given() const;
    bool isGiven() const;

  private:
    CLI::Option* option_;
};

/** The variable of an option. An optional text is set even by an empty text. */
using Variable =
    std::variant<std::reference_wrapper<std::string>, std::reference_wrapper<std::optional<std::string>>,
                 std::reference_wrapper<std::vector<std::string>>, std::reference_wrapper<double>,
                 std::reference_wrapper<std::optional<double>>, std::reference_wrapper<int32_t>,
                 std::reference_wrapper<uint32_t>, std::reference_wrapper<uint64_t>>;

/** A program or one of its commands. Copies stand for the same one. */
class Command {
  public:
    explicit Command(CLI::App* app) : app_(app) {}

    Command addCommand(const std::string& name, const std::string& description) const;
    /** Adds a command that the help does not list, and that has no help of its own. */
    Command addHidden(const std::string& name) const;
    /** Accepts any words and options, and ignores them. */
    void acceptAnything() const;
    /** Sets the text at the end of the help. Commands added later inherit it. */
    void setFooter(const std::string& footer) const;
    /** Sets a footer of several sections: `about`, and the lines of exit statuses and of examples. */
    void setHelp(const std::string& about, std::initializer_list<const char*> statuses,
                 std::initializer_list<const char*> examples) const;
    /** Sets the name and the description of a program, which has no parent. */
    void describe(const std::string& name, const std::string& description) const;
    void requireCommand() const;
    /** Accepts the options of this command also after the name of a command that is added later. */
    void acceptOptionsAnywhere() const;
    /** Adds --version, which prints `version`. */
    void addVersion(const std::string& version) const;
    /** Calls `run` after the command line has been parsed, if it names this command. */
    void onRun(std::function<void()> run) const;

    /**
     * Adds an argument, which is known by its place, or an option with a value, or a flag. The variable,
     * which must outlive the command, is set if it is given. `type` stands for the value in the help.
     */
    Option argument(const char* name, Variable variable, const char* help) const;
    Option option(const char* names, const char* type, Variable variable, const char* help) const;
    Option flag(const char* names, bool& value, const char* help) const;

    /** As above, without a variable: see Option::given(). */
    Option argument(const char* name, const char* help) const;
    Option flag(const char* names, const std::string& help) const;

    /** Adds an option whose value is passed to `use` while the command line is parsed. */
    Option option(const char* names, const char* type, const std::function<void(const std::string&)>& use,
                  const char* help) const;

  private:
    CLI::App* app_;
};

}  // namespace hidlaudio::host
