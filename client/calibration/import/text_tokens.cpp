// SPDX-License-Identifier: Apache-2.0
#include "text_tokens.h"

#include <algorithm>

namespace hidlaudio::client {
namespace {

constexpr std::string_view kBlanks = " \t\v\f";
constexpr size_t kLongestQuote = 60;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/** Returns the length of the number at the start if a letter follows it, or else the length of the word. */
size_t lengthOfNumber(const std::string& word) {
    const size_t length = word.find_first_not_of("0123456789.,+-");
    const bool hasUnit = length > 0 && length < word.size() && word[length] >= 'a' && word[length] <= 'z';
    return hasUnit ? length : word.size();
}

}  // namespace

std::string_view trim(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string lowerCase(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lower);
    return result;
}

std::vector<std::string> splitWords(std::string_view text) {
    std::vector<std::string> words;
    for (text = trim(text); !text.empty(); text = trim(text)) {
        std::string word = lowerCase(text.substr(0, text.find_first_of(kBlanks)));
        text.remove_prefix(word.size());
        const size_t length = lengthOfNumber(word);
        words.push_back(word.substr(0, length));
        if (length < word.size()) words.push_back(word.substr(length));
    }
    return words;
}

std::string printable(std::string_view text) {
    std::string result(text.substr(0, kLongestQuote));
    std::replace_if(result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return result + (text.size() > kLongestQuote ? "..." : "");
}

std::string quote(std::string_view text) {
    return '"' + printable(text) + '"';
}

}  // namespace hidlaudio::client
