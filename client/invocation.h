// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <functional>
#include <optional>

#include "client/terminal/report.h"

namespace hidlaudio::client {

/** Default time-out for one reply of a service, in seconds. */
constexpr double kAnswerSeconds = 30;

/** The options that all subcommands share, and the exit status. */
struct Invocation {
    bool json = false;
    std::optional<double> timeout;  // seconds; if not set, the subcommand uses its default
    int status = kDone;             // set by the action of the subcommand
};

/**
 * Adds a subcommand that runs `body`, whose return value becomes the exit status. A line about the common
 * options is appended to `footer`. If `needsTv` returns true and the TV cannot be used, the command fails
 * with kWrongUsage before `body` runs.
 */
CLI::App* addCommand(
    CLI::App* parent, Invocation& invocation, const std::string& name, const std::string& description,
    const std::string& footer, const std::function<int()>& body,
    const std::function<bool()>& needsTv = [] { return true; });

/** Adds an optional argument. `value`, which must outlive the command, is set if it is given, even if empty.
 */
CLI::Option* addOptionalArgument(CLI::App* command, const std::string& name,
                                 std::optional<std::string>& value, const std::string& help);

/**
 * Makes `group` require a subcommand, and sets its footer, with the line about the common options unless it
 * is the program itself. Call it after adding the subcommands: each copies the footer that its parent has at
 * that time.
 */
void finishGroup(CLI::App* group, const std::string& footer);

/**
 * Adds --version and the options that are accepted before and after the name of every subcommand. Call it
 * before adding subcommands.
 */
void addCommonOptions(CLI::App& app, Invocation& invocation);

/** Returns the time in `seconds` from now. */
std::chrono::steady_clock::time_point timeIn(double seconds);

/** Returns an error message if the argument of an option is empty, or else an empty string. */
std::string checkNotEmpty(const std::string& given);

/** Prints the error of the command line to standard error. Returns kWrongUsage. */
int wrongUsage(const CLI::App& app, const CLI::ParseError& error);

}  // namespace hidlaudio::client
