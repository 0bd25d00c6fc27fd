// SPDX-License-Identifier: Apache-2.0
#include "split_words.h"

#include <sstream>

namespace hidlaudio::host {

std::vector<std::string> splitWords(std::string_view text) {
    std::istringstream stream{std::string(text)};
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

}  // namespace hidlaudio::host
