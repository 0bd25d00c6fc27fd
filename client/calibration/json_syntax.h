// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hidlaudio::client {

/**
 * Returns messages for repeated keys of an object in the outer array, with JSON pointer, and for the first
 * syntax error, with line and column.
 */
std::vector<std::string> findJsonFaults(std::string_view text);

}  // namespace hidlaudio::client
