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
    // The service keeps four bytes, and takes a first byte of 0 or 1 for the end of its file.
    const bool accepted =
        !name.empty() && name.size() <= kLongestName && std::all_of(name.begin(), name.end(), isVisible);
    return accepted ? "" : quote(name) + " is no channel name of 1 to 4 ASCII characters";
}

}  // namespace hidlaudio::client
