// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace hidlaudio::client {

/** The number in a text, or the reason why the text is refused. */
struct ParsedNumber {
    double value = 0;
    std::string reason;  // empty if there is a value
};

/** Parses `text` as a number from `least` to `most`. `what` is the name of the value in the error message. */
ParsedNumber parseInRange(std::string_view what, std::string_view text, double least, double most);

/** Parses a gain from -60 to 60 dB. */
ParsedNumber parseGain(std::string_view text);

/** Parses a frequency in Hz. Refuses "12,500": some programs write that for 12.5, some for 12500. */
ParsedNumber parseFrequency(std::string_view text, double least, double most);

}  // namespace hidlaudio::client
