// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace hidlaudio::client {

/** Numbers as text, the same in every locale. */

/**
 * All of `text` as a decimal number with a point or a comma; nothing where it is anything
 * else, or beyond what a double holds.
 */
std::optional<double> parseDecimal(std::string_view text);

/**
 * Whether a comma in `text` may stand before thousands as well as before decimals, as in
 * "12,500".
 */
bool hasUnclearComma(std::string_view text);

/** The fewest digits that name the number among the floats: "0.1", "nan". */
std::string shortText(float value);

/** Likewise; what no float comes near keeps its own digits. */
std::string shortText(double value);

/** The double of these digits: 0.1, not 0.10000000149011612. */
double shortest(float value);

/** With a sign and that many decimals: "-3.0", "+0.5", "0.0". */
std::string signedText(double value, int decimals);

}  // namespace hidlaudio::client
