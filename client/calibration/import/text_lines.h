// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

namespace hidlaudio::client {

/** A line of an equalizer's text. */
struct TextLine {
    size_t number = 0;       // from 1
    size_t indent = 0;       // blanks at its start
    std::string_view whole;  // without blanks at its ends
    std::string keyword;     // in lower case, "filter" for "Filter 12:"; "" where there is none
    std::string_view body;   // behind the colon
};

/** Takes the next line off the front of `text`; `number` counts. Lines end with LF, CR LF or CR. */
TextLine takeLine(std::string_view& text, size_t& number);

/** Without the mark that some editors put before UTF-8. */
std::string_view withoutMark(std::string_view text);

}  // namespace hidlaudio::client
