// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace hidlaudio::host {

/** Identifies a process even if its pid is reused later. */
struct Process {
    pid_t pid = 0;
    uint64_t startTime = 0;  // in clock ticks since the kernel was booted
};

/**
 * Returns the process with this pid, or `std::nullopt` if it is not running. A process runs until its last
 * thread has ended.
 */
std::optional<Process> findProcess(pid_t pid);

bool isRunning(const Process& process);

struct ProcessSetup {
    std::string path;
    int log = -1;                 // standard output and error of the program, opened for appending
    int lock = -1;                // from openProgramLock(); locked before the program is executed
    bool endsWithCaller = false;  // whether the program is killed if this process ends
};

/**
 * Starts the program without arguments, in a new session, with this process's environment and "/" as its
 * working directory. It inherits only the two descriptors of `setup`. Returns 0, or an errno: EBUSY if
 * another process holds the lock.
 */
int startProcess(const ProcessSetup& setup, Process& process);

enum class Stopped { ByRequest, ByForce, No };

/**
 * Sends SIGTERM, and SIGKILL if the process still runs after `patience`. Waits up to 2 s more for its end.
 */
Stopped stopProcess(const Process& process, std::chrono::milliseconds patience);

struct Ending {
    bool asked = false;  // whether SIGTERM ended it
    std::string how;     // "ended with status 1", "was ended by signal 11 (Segmentation fault)"
};

/**
 * Reaps a child that has ended. Returns how it ended, or `std::nullopt` if it is running or was reaped
 * before.
 */
std::optional<Ending> endingOf(const Process& child);

}  // namespace hidlaudio::host
