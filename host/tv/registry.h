// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

namespace hidlaudio::host {

/**
 * Whether `program`, which runs as process `pid` on the TV at tvRoot(), has
 * registered every service that it is to offer.
 */
bool servicesRegistered(const std::string& program, pid_t pid);

}  // namespace hidlaudio::host
