// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace hidlaudio::manual {

/** The text as one word of a shell, in single quotes. */
inline std::string shellWord(const std::string& text) {
    std::string word = "'";
    for (const char c : text) word += c == '\'' ? "'\\''" : std::string(1, c);
    return word + "'";
}

/** The words with a space between them. */
inline std::string joinWords(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

}  // namespace hidlaudio::manual
