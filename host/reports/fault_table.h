// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>

namespace hidlaudio::host {

/**
 * How the daemon logs failures of the functions that it calls. A new log line needs one row of a table in
 * fault_table.cpp. The patterns are those of matchPattern(). In the commands, {kind} stands for the kind of
 * parameters that is uploaded.
 */

/** A failed call of a function, which `tv fault` injects. */
struct FaultRow {
    const char* tag;
    const char* pattern;
    const char* function;
    const char* assumed;  // the outcome if the line does not have it in a field "status", "errno" or "tuning"
    int passAtBoot;       // calls of the function before that during a start
    int pass;             // calls of the function before that in the same call of a client
};

/** A state of the TV that must be set before a call, and reset after it. */
struct ConditionRow {
    const char* tag;
    const char* pattern;
    const char* before;
    const char* after;  // null if it is reset before the next upload
};

/** A failure that cannot be reproduced. */
struct UnknownRow {
    const char* tag;
    const char* pattern;
    const char* reason;
};

extern const std::initializer_list<FaultRow> kFaultRows;
extern const std::initializer_list<ConditionRow> kConditionRows;
extern const std::initializer_list<UnknownRow> kUnknownRows;

}  // namespace hidlaudio::host
