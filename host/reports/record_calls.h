// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "deaths.h"

namespace hidlaudio::host {

/** The part of a record about one life of the daemon. */
struct RecordedBoot {
    pid_t process = 0;
    Place place;
    std::vector<Call> calls;
    ClientExits exits;
    bool hasEnded = false;
};

/** Splits the record. Calls that all interfaces have are left out. */
std::vector<RecordedBoot> readRecordedBoots(const Report& report, FaultNotes& notes);

/**
 * Gives the calls of the log the clients and arguments of the record, and adds the calls that only the record
 * has. Returns the exits of clients, each with its place among these calls.
 */
ClientExits addRecordedCalls(const RecordedBoot& recorded, BootCalls& calls);

}  // namespace hidlaudio::host
