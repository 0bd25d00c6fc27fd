// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

namespace hidlaudio::host {

/**
 * Checks of numbers on a command line. They return an empty string, or an error message if `text` is refused.
 * The checks of CLI11 accept NaN within any range and any text as a 64-bit number, and their messages differ
 * between releases.
 */

/** Accepts a decimal number from `least` to `most`. */
std::string checkNumber(std::string_view text, double least, double most);

/** Accepts a whole decimal number from `least` to `most`. */
std::string checkInteger(std::string_view text, uint64_t least, uint64_t most);

}  // namespace hidlaudio::host
