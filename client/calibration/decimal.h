// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace hidlaudio::client {

/** Conversions between numbers and text, independent of the locale. */

/**
 * Parses all of `text` as a decimal number with a point or a comma. Returns `std::nullopt` if it is not one,
 * is not finite, does not fit a double, or is longer than 40 characters.
 */
std::optional<double> parseDecimal(std::string_view text);

/** Returns whether the comma in `text` may be a decimal comma or a thousands separator, as in "12,500". */
bool hasUnclearComma(std::string_view text);

/** Returns the shortest text that identifies the float: "0.1", "nan". */
std::string shortText(float value);

/** As above, for the nearest float, or for the double if it exceeds the range of a float. */
std::string shortText(double value);

/** Returns the double with the digits of shortText(): 0.1, not 0.10000000149011612. */
double shortest(float value);

/** Returns the value with a sign and `decimals` decimals: "-3.0", "+0.5", "0.0". */
std::string signedText(double value, int decimals);

}  // namespace hidlaudio::client
