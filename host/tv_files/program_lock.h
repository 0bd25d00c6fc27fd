// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

namespace hidlaudio::host {

/**
 * The lock that a program of the TV at tvRoot() holds for its whole life, on the file run/<program>.lock.
 * The kernel stores the lock and the process that holds it: the lock cannot outlive the program, and the
 * file's content does not matter.
 *
 * It is a record lock: exec keeps it, a child does not inherit it, and it is lost when the holder closes any
 * descriptor of the file.
 */

/** Returns the path of the lock file. */
std::string programLockFile(const std::string& program);

/** Opens or creates the lock file. Returns a descriptor, or -1 with errno. */
int openProgramLock(const std::string& program);

/** Locks the file for this process without waiting. Returns 0, or an errno: EBUSY if it is held by another.
 */
int acquireProgramLock(int fd);

/** Returns the process that holds the lock, or 0 if it is free. */
pid_t programLockHolder(const std::string& program);

}  // namespace hidlaudio::host
