// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

namespace hidlaudio::host {

/**
 * Each function adds one subcommand of `tv_stress`; its file has the options, the help text and the action.
 * The action sets `status`, the exit status of `tv_stress`.
 */
void addSweep(CLI::App& app, int& status);
void addSoak(CLI::App& app, int& status);

}  // namespace hidlaudio::host
