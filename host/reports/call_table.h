// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <string_view>

namespace hidlaudio::host {

/**
 * How the daemon logs the calls of its clients. A new log line needs one row of a table in call_table.cpp.
 * The patterns are those of matchPattern().
 */

/** A method that is logged. */
struct CallRow {
    const char* tag;
    const char* interface;  // descriptor
    const char* method;
    const char* start;  // the first line, whose fields are arguments; null if the end is the only line
    const char* end;    // the last line, whose fields are results; null if none is logged
    /** JSON object of the arguments that the start does not have, or null. */
    const char* assumed;
};

/** A line inside a call, which gives arguments, or the end of a call that ends early. */
struct DetailRow {
    const char* method;
    const char* pattern;    // its fields are arguments, or results if `isEnd` is set
    const char* arguments;  // JSON object of arguments that the line stands for, or null
    bool isEnd;
    /** Argument that is not assumed any more after this line, or null. */
    const char* known;
};

extern const std::initializer_list<CallRow> kCallRows;
extern const std::initializer_list<DetailRow> kDetailRows;

/** Returns the row of a method by its name, or `nullptr`. */
const CallRow* findCallRow(std::string_view method);

/** Returns whether the line is the first one of the daemon's program. */
bool isDaemonStart(std::string_view tag, std::string_view text);

/** Returns whether the daemon logs such a text. Other programs may use its tags. */
bool isDaemonText(std::string_view tag, std::string_view text);

/** Returns whether the line is logged outside of calls, even on a thread that also serves calls. */
bool isAsynchronous(std::string_view text);

/** Returns the name in the brackets at the begin of the text, or "". */
std::string_view bracketedName(std::string_view text);

}  // namespace hidlaudio::host
