// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "calls.h"
#include "faults.h"

namespace hidlaudio::host {

/** The part of a record about one life of the daemon. */
struct RecordedBoot {
    pid_t process = 0;
    Place place;
    std::vector<Call> calls;
    std::vector<std::pair<size_t, std::string>> kills;  // number of calls before it, and the client
    bool hasEnded = false;
};

/** Splits the record. Calls that all interfaces have are left out. */
std::vector<RecordedBoot> readRecordedBoots(const Report& report, FaultNotes& notes);

/**
 * Gives the calls of the log the clients and arguments of the record, and adds the calls that only the record
 * has. Returns the ends of clients, each with the number of the calls before it.
 */
std::vector<std::pair<size_t, std::string>> addRecordedCalls(const RecordedBoot& recorded, BootCalls& calls);

}  // namespace hidlaudio::host
