// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::platform {

/** The tag of a service that has none of its own: the log shows the program's name. */
constexpr const char* kNoTag = nullptr;

/** Write a message to the Android log. `format` and what follows are printf's. Any thread. */
[[gnu::format(printf, 2, 3)]] void logDebug(const char* tag, const char* format, ...);
[[gnu::format(printf, 2, 3)]] void logInfo(const char* tag, const char* format, ...);
[[gnu::format(printf, 2, 3)]] void logWarning(const char* tag, const char* format, ...);
[[gnu::format(printf, 2, 3)]] void logError(const char* tag, const char* format, ...);

}  // namespace com::tovi::dtv::hardware::audio::platform
