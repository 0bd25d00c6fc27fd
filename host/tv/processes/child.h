// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace hidlaudio::host {

/** A program that this process starts and waits for, in its own process group. */
struct ChildSetup {
    std::vector<std::string> arguments;  // the first is the program's path
    std::vector<std::string> variables;  // "NAME=value", beside this process's
    std::string output;                  // the file that standard output is appended to
    std::string errors;                  // so for standard error
    std::string folder;                  // where it runs
};

/** Starts it without any of this process's descriptors. Returns 0, or an errno. */
int startChild(const ChildSetup& setup, pid_t& pid);

/** 0 or more: the exit status; below 0: minus the number of the signal that ended it. */
using ChildStatus = int;

/** "ended with status 1", "was ended by signal 6 (Aborted)". */
std::string describe(ChildStatus status);

/** How the child has ended, once: nothing while it runs after `patience`. */
std::optional<ChildStatus> statusWithin(pid_t pid, std::chrono::milliseconds patience);

/** Ends the child if it still runs: asked by `signal`, and by force after `patience`. */
ChildStatus endChild(pid_t pid, int signal, std::chrono::milliseconds patience);

}  // namespace hidlaudio::host
