// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

#include "calls.h"

namespace hidlaudio::host {

/** A statement about the scenario, and the line of the report from which it comes. */
struct Note {
    Place place;
    std::string text;
};

/** Lines of the scenario around the start of the daemon or around a call. */
struct Surroundings {
    std::vector<std::string> before;
    std::vector<std::string> after;
};

/** Lines by the call's index, or kBootLine. */
using AllSurroundings = std::map<int, Surroundings>;

/** Findings from the boots that were read so far. */
struct FaultNotes {
    bool hasBackEnd = true;                         // whether the TV has a back-end controller
    std::map<std::string, std::string> controller;  // current settings, such as "hrtf result"
    std::vector<Note> faults;
    std::vector<Note> unknown;
    std::vector<Note> assumptions;
};

/**
 * Finds the faults and states of the TV that the lines of a boot show, and adds the lines that set them.
 * Returns the indices of the lines of uploads whose calls are known.
 */
std::vector<size_t> findFaults(const DaemonLog& log, const Boot& boot, const BootCalls& calls,
                               AllSurroundings& surroundings, FaultNotes& notes);

}  // namespace hidlaudio::host
