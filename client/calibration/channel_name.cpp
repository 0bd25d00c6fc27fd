// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "calibration.h"
#include "client/calibration/import/text_tokens.h"

namespace hidlaudio::client {
namespace {

constexpr size_t kLongestName = 4;

bool isVisible(char c) {
    return c > ' ' && c < '\x7f';
}

}  // namespace

std::string checkChannelName(std::string_view name) {
    // The service stores four bytes, and a first byte of 0 or 1 marks the end of its file.
    const bool accepted =
        !name.empty() && name.size() <= kLongestName && std::all_of(name.begin(), name.end(), isVisible);
    return accepted ? "" : quote(name) + " is not a channel name of 1 to 4 ASCII characters";
}

}  // namespace hidlaudio::client
