// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace hidlaudio::host {

/** How startChild() starts a program, which stays in this process's process group. */
struct ChildSetup {
    std::vector<std::string> arguments;  // the first one is the path of the program
    std::vector<std::string> variables;  // "NAME=value", added to this process's environment
    std::string output;                  // path; standard output is appended to this file
    std::string errors;                  // path; standard error is appended to this file
    std::string folder;                  // the working directory
    int input = -1;                      // descriptor for standard input; -1 for /dev/null
};

/** Starts the program. It inherits no other descriptors. Returns 0, or an errno. */
int startChild(const ChildSetup& setup, pid_t& pid);

/** The exit status, or the negated number of the signal that ended the process. */
using ChildStatus = int;

/** Returns a text such as "ended with status 1" or "was ended by signal 6 (Aborted)". */
std::string describe(ChildStatus status);

/**
 * Waits up to `patience` for the child to end and reaps it. Returns its status, or `std::nullopt` if it still
 * runs or was reaped before.
 */
std::optional<ChildStatus> statusWithin(pid_t pid, std::chrono::milliseconds patience);

/**
 * Sends `signal` to the child, and SIGKILL if it still runs after `patience`. Reaps it and returns its
 * status, or 0 if `pid` is not a process: kill() would send the signal to a group of processes.
 */
ChildStatus endChild(pid_t pid, int signal, std::chrono::milliseconds patience);

}  // namespace hidlaudio::host
