// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stdint.h>
#include <sys/types.h>

namespace android::hardware::transport {

/** The listening sockets of the registry's folder: one for each server process, named PID-PROCESS.sock. */

/** Creates this process's listening socket. Returns a negative descriptor (logged) on failure. */
base::unique_fd registryListen(uint64_t process);

/** Connects to a server process. Returns a negative descriptor if it does not listen. */
base::unique_fd registryConnect(pid_t pid, uint64_t process);

/** Deletes the sockets of ended processes. The caller has locked the registry. */
void deleteDeadSockets();

}  // namespace android::hardware::transport
