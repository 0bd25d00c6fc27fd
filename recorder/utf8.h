// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string_view>

namespace hidlaudio::recorder {

/** Returns whether the text is valid UTF-8, as JSON requires. */
bool isUtf8(std::string_view text);

}  // namespace hidlaudio::recorder
