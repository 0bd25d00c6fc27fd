// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/program/command.h"

namespace hidlaudio::host {

/** Adds the options and subcommands of `tv`. They set `status`, which must outlive `app`. */
void addCommandLine(Command app, int& status);

/** Exit status of wrong usage in the help of the commands that need a TV. */
constexpr char kNeedsTv[] = "2  the arguments are wrong, or the folder is not a TV";

/**
 * Each function adds one subcommand of `tv`; its file has the options, the help text and the action.
 * The action sets `status`, the exit status of `tv`.
 */
void addInit(Command app, int& status);
void addBoot(Command app, int& status);
void addShutdown(Command app, int& status);
void addShow(Command app, int& status);
void addConfig(Command app, int& status);
void addEeprom(Command app, int& status);
void addFault(Command app, int& status);
void addBectrl(Command app, int& status);
void addLog(Command app, int& status);
void addRecord(Command app, int& status);
void addTimeline(Command app, int& status);
void addReplay(Command app, int& status);
void addFromReport(Command app, int& status);
void addShrink(Command app, int& status);

}  // namespace hidlaudio::host
