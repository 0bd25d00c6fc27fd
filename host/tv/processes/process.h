// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace hidlaudio::host {

/** A process that a later one with the same number cannot be taken for. */
struct Process {
    pid_t pid = 0;
    uint64_t startTime = 0;  // as the kernel counts it, since it was booted
};

/** The process of that number, if it runs; one that has ended and was not waited for does not. */
std::optional<Process> findProcess(pid_t pid);

bool isRunning(const Process& process);

struct ProcessSetup {
    std::string path;
    int log = -1;                 // open for appending; gets the program's output
    int lock = -1;                // of openProgramLock(); the program holds the lock from its first moment on
    bool endsWithCaller = false;  // it is killed if this process ends
};

/**
 * Starts the program without arguments, with the same environment and no other
 * descriptors of this process, in a session of its own and at "/". Returns 0, or an
 * errno: EBUSY if another process holds the lock.
 */
int startProcess(const ProcessSetup& setup, Process& process);

enum class Stopped { ByRequest, ByForce, No };

/** Asks the process to end, makes it after `patience`, and waits until it has. */
Stopped stopProcess(const Process& process, std::chrono::milliseconds patience);

struct Ending {
    bool asked = false;  // by the signal that asks for it
    std::string how;     // "ended with status 1", "was ended by signal 11 (Segmentation fault)"
};

/** How a process that this one started has ended, if it has. Tells it once. */
std::optional<Ending> endingOf(const Process& child);

}  // namespace hidlaudio::host
