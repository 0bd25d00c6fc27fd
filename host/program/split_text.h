// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hidlaudio::host {

/** Returns the parts of a text between white space. */
std::vector<std::string> splitWords(std::string_view text);

/** Returns the lines of a text, without their newlines. */
std::vector<std::string> splitLines(const std::string& text);

}  // namespace hidlaudio::host
