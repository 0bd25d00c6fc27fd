// SPDX-License-Identifier: Apache-2.0
#include "split_text.h"

#include <sstream>

namespace hidlaudio::host {

std::vector<std::string> splitWords(std::string_view text) {
    std::istringstream stream{std::string(text)};
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace hidlaudio::host
