// SPDX-License-Identifier: Apache-2.0
#include "decimal.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace hidlaudio::client {
namespace {

constexpr size_t kLongestNumber = 40;

template <typename Number>
std::string digitsOf(Number value) {
    char digits[64];
    const auto [end, error] = std::to_chars(digits, digits + sizeof(digits), value);
    return error == std::errc() ? std::string(digits, end) : "?";
}

}  // namespace

std::optional<double> parseDecimal(std::string_view text) {
    char digits[kLongestNumber];
    if (text.size() >= 2 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    if (text.size() > sizeof(digits)) return std::nullopt;
    char* const last = std::copy(text.begin(), text.end(), digits);
    if (std::count(digits, last, ',') + std::count(digits, last, '.') > 1) return std::nullopt;
    std::replace(digits, last, ',', '.');
    double value = 0;
    const auto [end, error] = std::from_chars(digits, last, value);
    if (error != std::errc() || end != last || !std::isfinite(value)) return std::nullopt;
    return value;
}

bool hasUnclearComma(std::string_view text) {
    const size_t comma = text.find(',');
    return comma != std::string_view::npos && comma > 0 && text.size() - comma == 4 && text[0] != '0';
}

std::string shortText(float value) {
    return digitsOf(value);
}

std::string shortText(double value) {
    const bool isFloat = std::fabs(value) <= static_cast<double>(std::numeric_limits<float>::max());
    return isFloat ? digitsOf(static_cast<float>(value)) : digitsOf(value);
}

double shortest(float value) {
    const std::string digits = shortText(value);
    double result = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), result);
    return result;
}

std::string signedText(double value, int decimals) {
    char text[400];
    snprintf(text, sizeof(text), "%+.*f", decimals, value);
    // A value that rounds to 0 has no sign.
    const bool nothing = strpbrk(text, "123456789in") == nullptr;
    return nothing ? text + 1 : text;
}

}  // namespace hidlaudio::client
