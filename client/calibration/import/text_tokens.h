// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hidlaudio::client {

/** Pieces of the text formats that room-correction programs write. */

/** Without blanks at either end. */
std::string_view trim(std::string_view text);

std::string lowerCase(std::string_view text);

/**
 * The words of a line, in lower case. A unit that sticks to its number is a word of its
 * own: "63Hz" gives "63" and "hz".
 */
std::vector<std::string> splitWords(std::string_view text);

/** Cut where it is long, and with nothing in it that a terminal would obey. */
std::string printable(std::string_view text);

/** Likewise, in quotation marks. */
std::string quote(std::string_view text);

}  // namespace hidlaudio::client
