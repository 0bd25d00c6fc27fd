// SPDX-License-Identifier: Apache-2.0
#include "decimal.h"

#include <android-base/stringprintf.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace hidlaudio::client {
namespace {

using android::base::StringPrintf;

constexpr size_t kLongestNumber = 40;

// The C++ library of Android 12 has neither from_chars() nor to_chars() for floating-point numbers. Those of
// C use a decimal point, because audioctl sets no locale.

float parseExact(const char* text, float) {
    return strtof(text, nullptr);
}

double parseExact(const char* text, double) {
    return strtod(text, nullptr);
}

/** Returns the shortest text, fixed or scientific, from which the same number is read. */
template <typename Number>
std::string digitsOf(Number value) {
    const auto wide = static_cast<double>(value);
    std::string scientific;
    int precision = -1;
    do {
        scientific = StringPrintf("%.*e", ++precision, wide);
    } while (std::isfinite(value) && precision < std::numeric_limits<Number>::max_digits10 - 1 &&
             std::not_equal_to<Number>()(parseExact(scientific.c_str(), value), value));
    const size_t mark = scientific.find('e');
    if (mark == std::string::npos) return scientific;  // "inf" or "nan"
    const int exponent = atoi(scientific.c_str() + mark + 1);
    const std::string fixed = StringPrintf("%.*f", std::max(precision - exponent, 0), wide);
    return fixed.size() <= scientific.size() ? fixed : scientific;
}

}  // namespace

std::optional<double> parseDecimal(std::string_view text) {
    char digits[kLongestNumber + 1];
    if (text.size() >= 2 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    if (text.size() > kLongestNumber) return std::nullopt;
    char* const last = std::copy(text.begin(), text.end(), digits);
    if (std::count(digits, last, ',') + std::count(digits, last, '.') > 1) return std::nullopt;
    std::replace(digits, last, ',', '.');
    *last = '\0';
    // strtod() also reads white space, a second sign, hexadecimal numbers and names.
    const bool isDecimal = text.find_first_not_of("0123456789+-.,eE") == text.npos && digits[0] != '+';
    char* end = digits;
    errno = 0;
    const double value = strtod(digits, &end);
    if (!isDecimal || text.empty() || end != last || errno == ERANGE) return std::nullopt;
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
    return strtod(shortText(value).c_str(), nullptr);
}

std::string signedText(double value, int decimals) {
    char text[400];
    snprintf(text, sizeof(text), "%+.*f", decimals, value);
    // A value that rounds to 0 has no sign.
    const bool nothing = strpbrk(text, "123456789in") == nullptr;
    return nothing ? text + 1 : text;
}

}  // namespace hidlaudio::client
