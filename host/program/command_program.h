// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command.h"

namespace hidlaudio::host {

/**
 * The main function of `tv` and `tv_stress`: parses the command line, runs the command and checks
 * that the output was written.
 *
 * @param add adds the options and subcommands; they set `status`, which outlives them
 * @return the exit status
 */
int runCommandProgram(int argc, char** argv, void (*add)(Command program, int& status));

}  // namespace hidlaudio::host
