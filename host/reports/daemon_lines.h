// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "report.h"

namespace hidlaudio::host {

/** A life of the daemon, from its start or the begin of the log to its end. */
struct Boot {
    enum class End { Unknown, Killed, Ended, Crashed };

    pid_t process = 0;
    size_t first = 0;  // index of its first line
    size_t past = 0;   // index behind its last line
    bool hasStart = false;
    End end = End::Unknown;
    Place endPlace;  // unless `end` is unknown
};

/** The lines of the daemon in the order in which it has logged them. */
struct DaemonLog {
    std::vector<DaemonLine> lines;  // of kind Log
    std::vector<Boot> boots;
};

/**
 * Merges the streams of the report, of which some may repeat lines of others. Returns an error message if
 * they come from more than one TV, or "".
 */
std::string mergeStreams(Report& report, DaemonLog& log);

}  // namespace hidlaudio::host
