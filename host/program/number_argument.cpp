// SPDX-License-Identifier: Apache-2.0
#include "number_argument.h"

#include <stdio.h>

#include <charconv>

namespace hidlaudio::host {
namespace {

/** Parses all of `text` as one number. Returns false if it is none or does not fit `value`. */
template <typename Number>
bool parseAll(std::string_view text, Number& value) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    const auto [stopped, error] = std::from_chars(begin, end, value);
    return error == std::errc() && stopped == end;
}

std::string refusal(std::string_view text, const std::string& range) {
    return "\"" + std::string(text) + "\" is not a number from " + range;
}

}  // namespace

std::string checkNumber(std::string_view text, double least, double most) {
    double value = 0;
    // The comparisons are false for NaN.
    if (parseAll(text, value) && value >= least && value <= most) return "";
    char range[100];
    snprintf(range, sizeof(range), "%g to %g", least, most);
    return refusal(text, range);
}

std::string checkInteger(std::string_view text, uint64_t least, uint64_t most) {
    uint64_t value = 0;
    if (parseAll(text, value) && value >= least && value <= most) return "";
    return refusal(text, std::to_string(least) + " to " + std::to_string(most));
}

}  // namespace hidlaudio::host
