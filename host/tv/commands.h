// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace hidlaudio::host {

/** All that `tv` takes: its options and subcommands. `status`, which they set, outlives `app`. */
void addCommandLine(CLI::App& app, int& status);

/**
 * The subcommands of `tv`, one file each: its options, its help, and what it does.
 * Each sets `status`, the exit status of the command, once it has run.
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

/** A positional argument that may be left out; given() tells it from an empty one. */
inline CLI::Option* addText(CLI::App* command, const char* name, const char* help) {
    return command->add_option_function<std::string>(name, [](const std::string&) {}, help)->type_name("");
}

/** What the user gave for the argument. Once the command line was parsed. */
inline std::optional<std::string> given(const CLI::Option* argument) {
    return argument->count() > 0 ? std::optional(argument->results().front()) : std::nullopt;
}

}  // namespace hidlaudio::host
