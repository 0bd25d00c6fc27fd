// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hidlaudio::client {

/** Functions for the text formats of room-correction programs. */

/** Returns the text without leading and trailing blanks. */
std::string_view trim(std::string_view text);

std::string lowerCase(std::string_view text);

/** Splits a line into words in lower case, and numbers from their units: "63Hz" gives "63" and "hz". */
std::vector<std::string> splitWords(std::string_view text);

/** Shortens `text` to 60 characters and "...", and replaces all but printable ASCII by '?'. */
std::string printable(std::string_view text);

/** Returns printable() in quotation marks. */
std::string quote(std::string_view text);

}  // namespace hidlaudio::client
