// SPDX-License-Identifier: Apache-2.0
#include "hex.h"

#include <stdint.h>

#include "parse_number.h"

namespace hidlaudio::host {

std::string toHex(const std::string& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        hex.append({kDigits[value >> 4], kDigits[value & 15]});
    }
    return hex;
}

std::optional<std::string> fromHex(std::string_view digits) {
    if (digits.size() % 2 != 0) return std::nullopt;
    std::string bytes;
    for (; !digits.empty(); digits.remove_prefix(2)) {
        const auto byte = parseNumber<uint8_t>(digits.substr(0, 2), 16);
        if (!byte) return std::nullopt;
        bytes += static_cast<char>(*byte);
    }
    return bytes;
}

}  // namespace hidlaudio::host
