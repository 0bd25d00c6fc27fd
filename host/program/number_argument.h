// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

namespace hidlaudio::host {

/**
 * Checks of numbers on a command line: "", or why `text` is refused. CLI11's own accept NaN
 * within any range, and any text as a 64-bit number; their messages differ by release.
 */

/** Accepts a decimal number from `least` to `most`. */
std::string checkNumber(std::string_view text, double least, double most);

/** Accepts a whole decimal number from `least` to `most`. */
std::string checkInteger(std::string_view text, uint64_t least, uint64_t most);

}  // namespace hidlaudio::host
