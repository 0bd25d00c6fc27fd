// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/program/command.h"

namespace hidlaudio::host {

/**
 * Each function adds one subcommand of `tv_stress`; its file has the options, the help text and the action.
 * The action sets `status`, the exit status of `tv_stress`.
 */
void addSweep(Command app, int& status);
void addSoak(Command app, int& status);

}  // namespace hidlaudio::host
