// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "report.h"

namespace hidlaudio::host {

/** A life of the daemon, from its start or the begin of the log to its end. */
struct Boot {
    pid_t process = 0;
    size_t first = 0;  // index of its first line
    size_t past = 0;   // index behind its last line
    bool hasStart = false;
    DaemonLine::End end = DaemonLine::End::None;  // None: unknown
    Place endPlace;                               // if the end is known
};

/** The lines of the daemon in the order in which it has logged them. */
struct DaemonLog {
    std::vector<DaemonLine> lines;  // that the daemon has logged
    std::vector<Boot> boots;
};

/**
 * Merges the streams of the report, of which some may repeat lines of others. Returns an error message if
 * they come from more than one TV, or "".
 */
std::string mergeStreams(Report& report, DaemonLog& log);

}  // namespace hidlaudio::host
