// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stdint.h>

#include <map>
#include <string>

namespace android::hardware::transport {

/**
 * The registry's folder below the TV's root. It contains the registered names (registry.h), the listening
 * sockets (registry_sockets.h) and a lock file. Byte 0 of the lock file is locked by a process that changes
 * the registry. Each server process keeps another byte locked until it ends.
 */
std::string registryDirectory();

/** Creates the folder for this user only. Returns false (logged) if that fails or it is not safe. */
bool makeRegistry();

/** Returns why the registry cannot be read, or an empty string if it can or does not exist. */
std::string registryProblem();

/**
 * Waits until no other thread or process changes the registry. Returns the lock, which is released with the
 * descriptor, or a negative descriptor (logged).
 */
base::unique_fd lockRegistry();

/** Locks the byte of a server process. Returns the lock, to be kept until the process ends; see above. */
base::unique_fd lockLifeOf(uint64_t process);

/** Finds out which server processes are alive, once for each process. Not thread-safe. */
class LivingProcesses {
  public:
    /** Returns whether the process is alive. Also true (noted) in a shortage, so that its files stay. */
    bool contains(uint64_t process);

  private:
    void open();

    bool isOpen_ = false;
    base::unique_fd lockFile_;
    bool isUnknown_ = false;
    std::map<uint64_t, bool> known_;
};

}  // namespace android::hardware::transport
