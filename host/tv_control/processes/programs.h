// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "process.h"

namespace hidlaudio::host {

/**
 * The programs of the TV, which lie in the folder of `tv`. They are started in this order, each one when the
 * services of the previous one are registered.
 */
constexpr const char* kPrograms[] = {"audio_hal", "hidlaudio"};

/** Returns the path of the program's log, log/<program>.log of the TV at tvRoot(). */
std::string logOf(const std::string& program);

/** Returns the path of the program's executable file. */
std::string fileOf(const std::string& program);

/** Returns the path of a program that users do not run. */
std::string privateFileOf(const std::string& program);

/**
 * Returns the process that runs the program on the TV at tvRoot(), i.e. the holder of the program's lock, or
 * `std::nullopt` if the program is not running.
 */
std::optional<Process> runningProgram(const std::string& program);

/** Returns whether any of the TV's programs is running. */
bool anyRunning();

/**
 * Starts the program. If `endsWithCaller` is set, it is killed when this process ends. Returns an error
 * message, or "".
 */
std::string startProgram(const std::string& program, bool endsWithCaller, Process& process);

/** Stops the process of a program if it is running, and prints a line. Returns false if it cannot be stopped.
 */
bool stopProgram(const std::string& program, const Process& process);

/**
 * Stops all programs that run on the TV, in reverse order of their start, and prints a line for each one.
 * Returns false if a program cannot be stopped. Call it with the lock of run/.
 */
bool stopPrograms();

}  // namespace hidlaudio::host
