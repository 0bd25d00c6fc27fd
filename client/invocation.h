// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <optional>

#include "client/terminal/report.h"

namespace hidlaudio::client {

/** How long a service may take to answer where the user does not say. */
constexpr double kAnswerSeconds = 30;

/** What the user asked for besides the subcommand, and what became of it. */
struct Invocation {
    bool json = false;
    std::optional<double> timeout;  // seconds
    int status = kDone;             // set by the subcommand once it has run
};

/**
 * Makes `body`, which returns the exit status, the action of `command`. Before it runs,
 * `needsTv` decides whether there must be a TV. Call it after the command's footer was set,
 * which it completes.
 */
void onRun(
    CLI::App* command, Invocation& invocation, const std::function<int()>& body,
    const std::function<bool()>& needsTv = [] { return true; });

/**
 * The options of every subcommand, accepted before and after its name, and
 * --version. Before the first subcommand is added.
 */
void addCommonOptions(CLI::App& app, Invocation& invocation);

/** "", or why the text of an option that names something is refused. */
std::string checkNotEmpty(const std::string& given);

/** Tells the user what is wrong with the command line and what is accepted; kWrongUsage. */
int wrongUsage(const CLI::App& app, const CLI::ParseError& error);

}  // namespace hidlaudio::client
