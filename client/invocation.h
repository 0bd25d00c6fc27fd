// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "client/terminal/report.h"
#include "host/program/command.h"

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
host::Command addCommand(
    host::Command parent, Invocation& invocation, const std::string& name, const std::string& description,
    const std::string& footer, const std::function<int()>& body,
    const std::function<bool()>& needsTv = [] { return true; });

/**
 * Makes `group` require a subcommand, and sets its footer, with the line about the common options. Call it
 * after adding the subcommands: each copies the footer that its parent has at that time.
 */
void finishGroup(host::Command group, const std::string& footer);

/**
 * Adds --version and the options that are accepted before and after the name of every subcommand. Call it
 * before adding subcommands.
 */
void addCommonOptions(host::Command app, Invocation& invocation);

/** Returns the time in `seconds` from now. */
std::chrono::steady_clock::time_point timeIn(double seconds);

}  // namespace hidlaudio::client
