// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

#include "report.h"

namespace hidlaudio::host {

/** A scenario that repeats what a report shows. */
struct MadeScenario {
    std::string text;                            // the lines of the scenario
    std::string log;                             // the daemon's lines; empty if the report has no log
    std::string notes;                           // what is inferred, assumed and left out
    std::vector<std::string> setup;              // the lines that prepare the TV: `tv init` and the next ones
    std::map<std::string, std::string> files;    // contents of the files beside the scenario, by their names
    std::map<std::string, std::string> sources;  // paths of files that are copied beside it, by their names

    size_t calls = 0;
    size_t boots = 0;
    size_t clients = 0;
    size_t faults = 0;
    size_t assumptions = 0;
    size_t warnings = 0;
};

/**
 * Makes a scenario from a report. Takes the lines of the report. Returns an error message if the report has
 * no line of the daemon or lines of more than one TV, or "".
 */
std::string makeScenario(Report& report, MadeScenario& scenario);

}  // namespace hidlaudio::host
