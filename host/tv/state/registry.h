// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace hidlaudio::host {

/** The manifest of a new TV: it declares what its programs register. */
std::string factoryManifest();

/**
 * The services, as "interface/instance", that `program`, which runs as process `pid` on the TV at
 * tvRoot(), has not registered yet.
 */
std::vector<std::string> missingServices(const std::string& program, pid_t pid);

/** Whether there are none. */
bool servicesRegistered(const std::string& program, pid_t pid);

/** "A", or "A and 3 more", for a message; at least one is missing. */
std::string describeMissing(const std::vector<std::string>& missing);

}  // namespace hidlaudio::host
