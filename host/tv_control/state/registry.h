// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace hidlaudio::host {

/** Returns the manifest of a new TV, which declares the services of its programs. */
std::string factoryManifest();

/**
 * Returns the services ("interface/instance") that process `pid`, which runs `program` on the TV at tvRoot(),
 * has not registered yet.
 */
std::vector<std::string> missingServices(const std::string& program, pid_t pid);

/** Returns whether missingServices() is empty. */
bool servicesRegistered(const std::string& program, pid_t pid);

/** Returns "A", or "A and 3 more", for a message. `missing` must not be empty. */
std::string describeMissing(const std::vector<std::string>& missing);

}  // namespace hidlaudio::host
