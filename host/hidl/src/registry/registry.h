// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stdint.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace android::hardware::transport {

/**
 * The registry of services: a folder of the virtual TV with a text file for each
 * registered name, the listening sockets, and for each socket a file that its
 * process holds locked while it lives. Any process of the user may read it; whoever
 * finds that a process is gone takes its files away.
 *
 * An entry "<interface>~<instance>", for cat and grep (the instance's odd characters
 * as %XX):
 *     pid 4711
 *     process 9f3c0a5e11d2b870     the process's name, as its connections say it
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

/** The registry's folder; not made by this. */
std::string registryDirectory();

/** Makes the folder, for its user only; false (logged) if that fails or others could write in it. */
bool makeRegistry();

/** Why the registry cannot be read, naming the folder; empty if it can, or does not exist. */
std::string registryProblem();

/** A listening socket of that name, and the locked file beside it; negative (logged) on failure. */
base::unique_fd registryListen(const std::string& name, base::unique_fd* alive);

/** A connection to the socket of that name; negative where nobody listens. */
base::unique_fd registryConnect(const std::string& name);

/**
 * Writes the entries; the newest of a name wins, with a warning where it takes it
 * from a live process. False (logged) where one can't be written: then none is there.
 */
bool registryAdd(const std::vector<RegistryEntry>& entries);

/** The entry of that name whose process lives. */
bool registryFind(const std::string& interface, const std::string& instance, RegistryEntry* entry);

/** All entries of processes that live, in the order of their names. */
std::vector<RegistryEntry> registryList();

/** Takes away what processes that are gone have left. */
void registrySweep();

/** Whether `name` can be an instance: not empty, and its file's name not too long. */
bool registryNameFits(const std::string& interface, const std::string& instance);

}  // namespace android::hardware::transport
