// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "calls.h"
#include "faults.h"

namespace hidlaudio::host {

/**
 * Finds the clients whose death the lines of a boot show. Their calls get a client of their own, which is
 * killed. Adds the lines about the death to those that the scenario awaits.
 */
void findDeaths(const DaemonLog& log, const Boot& boot, BootCalls& calls, AllSurroundings& surroundings,
                std::vector<size_t>& awaited, FaultNotes& notes);

}  // namespace hidlaudio::host
