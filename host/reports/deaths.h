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
 * Finds the clients whose death the lines of a boot show. `exits` are the clients with objects that a record
 * shows to end; null if there is no record: the calls of the dead clients then get a client of their own.
 * Adds the lines about the death to those that the scenario awaits. Returns the kills in the order of their
 * lines.
 */
std::vector<Kill> findDeaths(const DaemonLog& log, const Boot& boot, BootCalls& calls,
                             std::vector<size_t>& awaited, const std::vector<std::string>* exits,
                             FaultNotes& notes);

}  // namespace hidlaudio::host
