// SPDX-License-Identifier: Apache-2.0
#include "parse_number.h"

#include <optional>

#include "client/calibration/decimal.h"
#include "text_tokens.h"

namespace hidlaudio::client {
namespace {

constexpr double kLargestTextGain = 60;

}  // namespace

ParsedNumber parseInRange(std::string_view what, std::string_view text, double least, double most) {
    const std::optional<double> value = parseDecimal(text);
    if (value && *value >= least && *value <= most) return {*value, ""};
    return {0, std::string(what) + " " + quote(text) + " is not a number from " + shortText(least) + " to " +
                   shortText(most)};
}

ParsedNumber parseGain(std::string_view text) {
    return parseInRange("gain", text, -kLargestTextGain, kLargestTextGain);
}

ParsedNumber parseFrequency(std::string_view text, double least, double most) {
    if (hasUnclearComma(text))
        return {0,
                "frequency " + quote(text) + " is ambiguous: its comma may separate thousands or decimals"};
    return parseInRange("frequency", text, least, most);
}

}  // namespace hidlaudio::client
