// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace hidlaudio::test {

/** Returns the names of all ways in which a client can leave descriptors with a service. */
std::vector<std::string> offerNames();

/**
 * Leaves descriptors with the service in the way `name`. The process must exit afterwards without
 * closing any descriptor. Returns false if there is no such name.
 */
bool offer(const std::string& name);

}  // namespace hidlaudio::test
