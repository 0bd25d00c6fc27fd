// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>
#include <vector>

#include "call_table.h"
#include "daemon_lines.h"
#include "pattern.h"

namespace hidlaudio::host {

/** A call by a client of the daemon. */
struct Call {
    Place place;       // the log's first line of it, or that of the record
    size_t first = 0;  // index of its first line in the log; of the line before which it was, if it has none
    size_t last = 0;   // index of its last line
    bool isLogged = true;
    pid_t thread = 0;
    std::string interface;  // descriptor
    std::string method;
    Json arguments = Json::object();
    Json results = Json::object();  // as far as the log has them
    bool hasEnded = false;          // whether the log or the record shows its end
    std::set<std::string> assumed;  // arguments that are assumed
    std::string client = "app";
    bool isInBackground = false;
    int kind = -1;  // kind of parameters: 0 device, 1 hrtf
};

/** Owners of a line of the log that are no call. */
enum Owner : int { kAsynchronousLine = -1, kBootLine = -2 };

/** The calls of one boot, in the order of their starts. */
struct BootCalls {
    std::vector<Call> calls;
    std::vector<int> owners;  // for each line of the boot: index of its call, or an Owner
};

/** Finds the calls that the lines of a boot show. Adds warnings about damaged lines to the report. */
BootCalls readCalls(const DaemonLog& log, const Boot& boot, Report& report);

/**
 * Chooses a client for each call: calls that overlap in time need different ones. Sets `client` and
 * `isInBackground`. Returns the number of calls that overlap.
 */
size_t chooseClients(std::vector<Call>& calls);

}  // namespace hidlaudio::host
