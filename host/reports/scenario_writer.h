// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "calls.h"
#include "deaths.h"
#include "faults.h"
#include "make_scenario.h"

namespace hidlaudio::host {

/** A boot with all that was found in it. */
struct FoundBoot {
    Boot boot;
    BootCalls calls;
    AllSurroundings around;
    std::vector<Kill> kills;
    std::vector<size_t> awaited;  // indices of lines that the scenario awaits before its next call
};

/**
 * Adds the lines of the boots to the text of the scenario, and counts its calls, boots and clients. Returns a
 * note for each call.
 */
std::vector<Note> writeBoots(const DaemonLog& log, const std::vector<FoundBoot>& boots,
                             MadeScenario& scenario);

/** Returns the text without the characters that end a line. */
std::string withoutNewline(std::string text);

}  // namespace hidlaudio::host
