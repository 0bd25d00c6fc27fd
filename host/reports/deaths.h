// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "calls.h"
#include "faults.h"

namespace hidlaudio::host {

/** A client that is killed at a line of the log. */
struct Kill {
    size_t line = 0;  // index of the first line that shows it
    std::string client;
};

/**
 * Finds the clients whose death the lines of a boot show. If the clients of the calls are guessed, the calls
 * of the dead ones get a client of their own, which is killed. Adds the lines about the death to those that
 * the scenario awaits. Returns the kills in the order of their lines.
 */
std::vector<Kill> findDeaths(const DaemonLog& log, const Boot& boot, BootCalls& calls,
                             std::vector<size_t>& awaited, bool areClientsKnown, FaultNotes& notes);

}  // namespace hidlaudio::host
