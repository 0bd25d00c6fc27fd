// SPDX-License-Identifier: Apache-2.0
#include "text_lines.h"

#include <algorithm>

#include "text_tokens.h"

namespace hidlaudio::client {
namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";
constexpr size_t kLongestKeyword = 40;

std::string keywordOf(std::string_view text) {
    const size_t end = text.find_last_not_of(" \t0123456789");
    return lowerCase(text.substr(0, end == std::string_view::npos ? 0 : end + 1));
}

}  // namespace

TextLine removeLine(std::string_view& text, size_t& number) {
    const size_t end = std::min(text.find_first_of("\r\n"), text.size());
    TextLine line;
    line.number = ++number;
    line.whole = trim(text.substr(0, end));
    if (!line.whole.empty()) line.indent = static_cast<size_t>(line.whole.data() - text.data());
    const size_t colon = line.whole.substr(0, kLongestKeyword).find(':');
    if (colon != std::string_view::npos) {
        line.keyword = keywordOf(line.whole.substr(0, colon));
        line.body = trim(line.whole.substr(colon + 1));
    }
    text.remove_prefix(end);
    const size_t ending = text.substr(0, 2) == "\r\n" ? 2 : 1;
    text.remove_prefix(std::min(ending, text.size()));
    return line;
}

std::string_view withoutByteOrderMark(std::string_view text) {
    return text.substr(0, kMark.size()) == kMark ? text.substr(kMark.size()) : text;
}

}  // namespace hidlaudio::client
