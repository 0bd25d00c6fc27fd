// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

namespace hidlaudio::client {

/** A line of an equalizer text. */
struct TextLine {
    size_t number = 0;       // from 1
    size_t indent = 0;       // number of leading blanks
    std::string_view whole;  // without leading and trailing blanks
    std::string keyword;     // in lower case, "filter" for "Filter 12:"; empty if there is none
    std::string_view body;   // text after the colon
};

/** Removes the first line from `text` and returns it. Increments `number`. Lines end with LF, CR LF or CR. */
TextLine removeLine(std::string_view& text, size_t& number);

/** Returns the text without a UTF-8 byte order mark. */
std::string_view withoutByteOrderMark(std::string_view text);

}  // namespace hidlaudio::client
