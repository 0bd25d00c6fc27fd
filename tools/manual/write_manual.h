// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <vector>

#include "command_tree.h"

namespace hidlaudio::manual {

/**
 * The whole of a generator: PROGRAM OUT END writes the manual page <name>.1, <name>.bash
 * and _<name>, for zsh, of the program that `app` describes, to the folder OUT, which is
 * there. END is a file of roff, the page's last sections. Returns the exit status; what is
 * wrong is told on standard error.
 */
int writeManual(CLI::App& app, const std::vector<Suggestion>& suggestions, int argc, char** argv);

}  // namespace hidlaudio::manual
