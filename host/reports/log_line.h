// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <string>
#include <string_view>

namespace hidlaudio::host {

/** Time of a line in a format that has no time. */
constexpr int64_t kNoTime = -1;

/** A line of a log. The texts are parts of the parsed line. */
struct LogcatLine {
    int64_t time = kNoTime;  // microseconds since the begin of the year, which is taken as a leap year
    pid_t process = 0;
    pid_t thread = 0;  // that of the process if the format has no threads
    char level = 0;    // 'D'
    std::string_view tag;
    std::string_view text;
};

/**
 * Parses a line as logcat prints it in the formats threadtime, time and brief, with or without the modifiers
 * year, zone, usec, uid and epoch. Returns false for other lines.
 */
bool parseLogLine(std::string_view text, LogcatLine& line);

/** Returns the line without its time and process: "D tag: text". */
std::string textOf(const LogcatLine& line);

/** Returns the line in the format threadtime, with a newline. Midnight of January 1 stands for no time. */
std::string formatLogLine(const LogcatLine& line);

}  // namespace hidlaudio::host
