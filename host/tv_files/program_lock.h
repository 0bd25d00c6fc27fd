// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

namespace hidlaudio::host {

/**
 * The lock that a program of the TV at tvRoot() holds for its whole life, on the file run/<program>.lock.
 * The kernel keeps it and knows the process that holds it, so it cannot outlive the program, and the file's
 * content does not matter.
 *
 * It is a record lock: exec keeps it, a child does not inherit it, and it is lost when the holder closes any
 * descriptor of the file.
 */
std::string programLockFile(const std::string& program);

/** Opens the file, or makes it. Returns -1 with errno if that fails. */
int openProgramLock(const std::string& program);

/** Locks the file for this process. Returns 0, or an errno: EBUSY if another process holds it. */
int takeProgramLock(int fd);

/** The process that holds the lock, or 0 if none does. */
pid_t programLockHolder(const std::string& program);

}  // namespace hidlaudio::host
