// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hidlaudio::client {

/**
 * What is wrong with `text` before anybody asks what it says: where it is no JSON, with line
 * and column, or where an object in the outer array has a key twice, with its JSON pointer.
 */
std::vector<std::string> findJsonFaults(std::string_view text);

}  // namespace hidlaudio::client
