// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace hidlaudio::test {

/** The ways in which a client can leave descriptors with a service. */
std::vector<std::string> offerNames();

/** Does so. The process is to end at once, without closing anything. Returns false if it cannot. */
bool offer(const std::string& name);

}  // namespace hidlaudio::test
