// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "invocation.h"

namespace hidlaudio::client {

/** Adds all options and subcommands of `audioctl`. `invocation` must outlive `app`. */
void addCommandLine(CLI::App& app, Invocation& invocation);

/** Each function adds one subcommand with its options, help and action. */
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
