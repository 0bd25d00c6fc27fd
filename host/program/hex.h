// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace hidlaudio::host {

/** Returns two hexadecimal digits per byte. */
std::string toHex(const std::string& bytes);

/** Returns the bytes of pairs of hexadecimal digits, or `std::nullopt` if there are other characters. */
std::optional<std::string> fromHex(std::string_view digits);

}  // namespace hidlaudio::host
