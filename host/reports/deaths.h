// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "calls.h"
#include "faults.h"

namespace hidlaudio::host {

/** A client that is killed before a line of the log. */
struct Kill {
    size_t line = 0;  // index of the first line that shows it
    std::string client;
};

/** Clients with objects that end according to a record: the number of calls before the end, and the client.
 */
using ClientExits = std::vector<std::pair<size_t, std::string>>;

/**
 * Finds the clients whose death the lines of a boot show. `exits` is null if there is no record: the calls of
 * the dead clients then get a client of their own. Adds the lines about the death to those that the scenario
 * awaits. Returns the kills in the order of their lines.
 */
std::vector<Kill> findDeaths(const DaemonLog& log, const Boot& boot, BootCalls& calls,
                             std::vector<size_t>& awaited, const ClientExits* exits, FaultNotes& notes);

}  // namespace hidlaudio::host
