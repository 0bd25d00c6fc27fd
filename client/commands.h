// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "invocation.h"

namespace hidlaudio::client {

/** All that `audioctl` takes: its options and subcommands. `invocation` outlives `app`. */
void addCommandLine(CLI::App& app, Invocation& invocation);

/** The subcommands of `audioctl`, one file each: its options, its help, and what it does. */
void addList(CLI::App& app, Invocation& invocation);
void addWait(CLI::App& app, Invocation& invocation);
void addPing(CLI::App& app, Invocation& invocation);
void addDump(CLI::App& app, Invocation& invocation);
void addHdmi(CLI::App& app, Invocation& invocation);
void addExternal(CLI::App& app, Invocation& invocation);
void addSpeaker(CLI::App& app, Invocation& invocation);
void addCalibration(CLI::App& app, Invocation& invocation);
void addCenter(CLI::App& app, Invocation& invocation);
void addVirtualizer(CLI::App& app, Invocation& invocation);
void addMic(CLI::App& app, Invocation& invocation);

}  // namespace hidlaudio::client
