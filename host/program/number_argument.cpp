// SPDX-License-Identifier: Apache-2.0
#include "number_argument.h"

#include <stdio.h>
#include <stdlib.h>

#include "parse_number.h"

namespace hidlaudio::host {
namespace {

std::string refusal(std::string_view text, const std::string& range) {
    return "\"" + std::string(text) + "\" is not a number from " + range;
}

}  // namespace

std::string checkNumber(std::string_view text, double least, double most) {
    // Not from_chars(), which Android 12 lacks for floating-point numbers. strtod() also reads white space, a
    // plus sign, hexadecimal numbers and names.
    const std::string number(text);
    const bool isDecimal = number.find_first_not_of("0123456789+-.eE") == number.npos && number[0] != '+';
    char* end = nullptr;
    const double value = strtod(number.c_str(), &end);
    if (isDecimal && !number.empty() && *end == '\0' && value >= least && value <= most) return "";
    char range[100];
    snprintf(range, sizeof(range), "%g to %g", least, most);
    return refusal(text, range);
}

std::string checkInteger(std::string_view text, uint64_t least, uint64_t most) {
    const std::optional<uint64_t> value = parseNumber<uint64_t>(text);
    if (value && *value >= least && *value <= most) return "";
    return refusal(text, std::to_string(least) + " to " + std::to_string(most));
}

}  // namespace hidlaudio::host
