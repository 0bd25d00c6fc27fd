// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace android::hardware::transport {

/**
 * Entry of the service registry. The registry's file `services` has a line for each registered name:
 *     INTERFACE/INSTANCE PID PROCESS OBJECT
 *     com.tovi.dtv.hardware.audio@6.0::IMicControl/default 4711 9f3c0a5e11d2b870 3
 * Special characters of the names are written as %XX. Any process of the user may read the file at any
 * time. A look-up that finds an entry of an ended process deletes that process's entries.
 */
struct RegistryEntry {
    std::string interface;
    std::string instance;
    pid_t pid = -1;
    uint64_t process = 0;  // the process's random name, also sent in kHello
    uint64_t object = 0;   // number of the object in that process
};

/**
 * Writes the entries. An entry replaces an older one of the same name; a warning is logged if that
 * process is alive. Returns false (logged) if that fails; the registry is unchanged then.
 */
bool registryAdd(const std::vector<RegistryEntry>& entries);

/** Finds the entry of a name. Returns false if there is none or its process has ended. */
bool registryFind(const std::string& interface, const std::string& instance, RegistryEntry* entry);

/** Returns all entries of live processes, sorted by name. */
std::vector<RegistryEntry> registryList();

/** Deletes the entries and sockets of ended processes. */
void registrySweep();

/** Returns whether `instance` is not empty and the name, as written to the file, has at most 255 bytes. */
bool registryNameFits(const std::string& interface, const std::string& instance);

}  // namespace android::hardware::transport
