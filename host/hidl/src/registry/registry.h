// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stdint.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace android::hardware::transport {

/**
 * Entry of the service registry. The registry is a folder of the virtual TV. It contains a text file
 * for each registered name, the listening sockets, and for each socket a file that its process keeps
 * locked until it ends. Any process of the user may read it. A look-up that finds an entry of an ended
 * process deletes that process's files.
 *
 * The file of an entry is named "<interface>~<instance>", with special characters as %XX. Example:
 *     pid 4711
 *     process 9f3c0a5e11d2b870     the process's random name, also sent in kHello
 *     object 3                     number of the object in that process
 *     socket 4711-9f3c0a5e.sock
 *     implements com.tovi.dtv.hardware.audio@6.1::IOutputSpeaker
 */
struct RegistryEntry {
    std::string interface;
    std::string instance;
    std::string implements;  // the object's most derived interface
    std::string socket;
    pid_t pid = -1;
    uint64_t process = 0;
    uint64_t object = 0;
};

/** Returns the path of the registry's folder. Does not create the folder. */
std::string registryDirectory();

/** Creates the folder for this user only. Returns false (logged) if that fails or it is not safe. */
bool makeRegistry();

/** Returns why the registry cannot be read, or an empty string if it can or does not exist. */
std::string registryProblem();

/**
 * Creates the listening socket `name` and locks the file beside it, whose descriptor is stored in
 * `alive`. Returns a negative descriptor (logged) on failure.
 */
base::unique_fd registryListen(const std::string& name, base::unique_fd* alive);

/** Connects to the socket `name`. Returns a negative descriptor if no process listens there. */
base::unique_fd registryConnect(const std::string& name);

/**
 * Writes the entries. An entry replaces an older one of the same name; a warning is logged if that
 * process is alive. Returns false (logged) if an entry cannot be written; all of them are removed then.
 */
bool registryAdd(const std::vector<RegistryEntry>& entries);

/** Finds the entry of a name. Returns false if there is none or its process has ended. */
bool registryFind(const std::string& interface, const std::string& instance, RegistryEntry* entry);

/** Returns all entries of live processes, sorted by file name. */
std::vector<RegistryEntry> registryList();

/** Deletes the files of ended processes. */
void registrySweep();

/** Returns whether `instance` is not empty and the name of the entry's file is not too long. */
bool registryNameFits(const std::string& interface, const std::string& instance);

}  // namespace android::hardware::transport
