// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace hidlaudio::host {

/**
 * Parses all of `text` as one number. `base` is the base of an integer, 10 by default. Returns
 * `std::nullopt` if the text is not a number or does not fit the type.
 */
template <typename Number, typename... Base>
std::optional<Number> parseNumber(std::string_view text, Base... base) {
    Number value{};
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    const auto [stopped, error] = std::from_chars(begin, end, value, base...);
    return error == std::errc() && stopped == end ? std::optional(value) : std::nullopt;
}

}  // namespace hidlaudio::host
