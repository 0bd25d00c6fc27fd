// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "host/program/json.h"

namespace hidlaudio::host {

/**
 * Matches the text of a log line. A pattern is the text with fields {NAME:KIND}:
 *
 *     i        whole number                  x  hexadecimal number
 *     b        0 or 1, as false or true      f  number, as printf prints it
 *     s        any text                      p  kind of parameters, by its name if it has one
 *     A|B|C    one of these texts, as 0, 1, 2
 *
 * Blanks at the end do not count. NAME is a path in `fields`: "data/0/level" is a member of the first element
 * of the array "data". '+' after the name appends the value to an array. An empty name drops the value.
 * Returns false, with `fields` unchanged, if the text does not match.
 */
bool matchPattern(std::string_view pattern, std::string_view text, Json& fields);

/** Returns a member that is a whole number, or else `fallback`. */
int64_t integerOf(const Json& object, const char* member, int64_t fallback);

/** Returns whether the text matches. */
bool matchPattern(std::string_view pattern, std::string_view text);

}  // namespace hidlaudio::host
