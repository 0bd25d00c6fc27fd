// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hidlaudio::host {

/** Returns the parts of a text between white space. */
std::vector<std::string> splitWords(std::string_view text);

}  // namespace hidlaudio::host
