// SPDX-License-Identifier: Apache-2.0
#include "utf8.h"

namespace hidlaudio::recorder {
namespace {

/** Returns the length of the valid UTF-8 sequence at `text`, or 0. */
size_t sequenceLength(const unsigned char* text, size_t left) {
    const unsigned char lead = text[0];
    if (lead < 0x80) return 1;
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || length > left) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((text[i] & 0xC0) != 0x80) return 0;
    }
    // Overlong forms, surrogates, and code points after the last one.
    const bool isInvalid = (lead == 0xE0 && text[1] < 0xA0) || (lead == 0xED && text[1] > 0x9F) ||
                           (lead == 0xF0 && text[1] < 0x90) || (lead == 0xF4 && text[1] > 0x8F);
    return isInvalid ? 0 : length;
}

}  // namespace

bool isUtf8(std::string_view text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    for (size_t at = 0; at < text.size();) {
        const size_t length = sequenceLength(bytes + at, text.size() - at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

}  // namespace hidlaudio::recorder
