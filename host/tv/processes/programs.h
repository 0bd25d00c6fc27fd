// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "process.h"

namespace hidlaudio::host {

/**
 * The programs of the TV, in the order in which it starts them, each once the services of
 * the one before are registered; all lie beside `tv`.
 */
constexpr const char* kPrograms[] = {"audio_hal", "hidlaudio"};

/** log/<program>.log of the TV at tvRoot(). */
std::string logOf(const std::string& program);

/** The file that the program is started from. */
std::string fileOf(const std::string& program);

/** The process that runs the program on the TV at tvRoot(), whoever has started it: the holder of its lock.
 */
std::optional<Process> runningProgram(const std::string& program);

/** Whether any of the TV's programs runs. */
bool anyRunning();

/**
 * Starts the program; with `endsWithCaller` it is killed if this process ends. Returns an empty string, or
 * why it could not be started.
 */
std::string startProgram(const std::string& program, bool endsWithCaller, Process& process);

/**
 * Ends the TV's programs, the last started first, and prints a line for each.
 * False if one could not be ended.
 */
bool stopPrograms();

}  // namespace hidlaudio::host
