// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace hidlaudio::host {

/** Adds the options and subcommands of `tv`. They set `status`, which must outlive `app`. */
void addCommandLine(CLI::App& app, int& status);

/**
 * Each function adds one subcommand of `tv`; its file has the options, the help text and the action.
 * The action sets `status`, the exit status of `tv`.
 */
void addInit(CLI::App& app, int& status);
void addBoot(CLI::App& app, int& status);
void addShutdown(CLI::App& app, int& status);
void addShow(CLI::App& app, int& status);
void addConfig(CLI::App& app, int& status);
void addEeprom(CLI::App& app, int& status);
void addFault(CLI::App& app, int& status);
void addBectrl(CLI::App& app, int& status);
void addLog(CLI::App& app, int& status);
void addRecord(CLI::App& app, int& status);
void addTimeline(CLI::App& app, int& status);
void addReplay(CLI::App& app, int& status);
void addFromReport(CLI::App& app, int& status);
void addShrink(CLI::App& app, int& status);

/** Adds an optional positional argument. given() distinguishes a missing argument from an empty one. */
inline CLI::Option* addText(CLI::App* command, const char* name, const char* help) {
    return command->add_option_function<std::string>(name, [](const std::string&) {}, help)->type_name("");
}

/** Returns the value of the argument, or `std::nullopt` if it is missing. Call it after parsing. */
inline std::optional<std::string> given(const CLI::Option* argument) {
    return argument->count() > 0 ? std::optional(argument->results().front()) : std::nullopt;
}

}  // namespace hidlaudio::host
