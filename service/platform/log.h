// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::platform {

/** Tag of a service without a tag of its own: the log shows the name of the program. */
constexpr const char* kNoTag = nullptr;

/** Write a message to the Android log. `format` and the arguments are those of printf. Any thread. */
[[gnu::format(printf, 2, 3)]] void logDebug(const char* tag, const char* format, ...);
[[gnu::format(printf, 2, 3)]] void logInfo(const char* tag, const char* format, ...);
[[gnu::format(printf, 2, 3)]] void logWarning(const char* tag, const char* format, ...);
[[gnu::format(printf, 2, 3)]] void logError(const char* tag, const char* format, ...);

}  // namespace com::tovi::dtv::hardware::audio::platform
