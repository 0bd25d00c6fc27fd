// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

namespace hidlaudio::host {

/**
 * The subcommands of `tv_stress`, a file each: options, help and action. Each sets `status`, the
 * exit status of the program, once it has run.
 */
void addSweep(CLI::App& app, int& status);
void addSoak(CLI::App& app, int& status);

}  // namespace hidlaudio::host
