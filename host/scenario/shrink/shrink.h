// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "host/program/interrupt.h"
#include "host/scenario/scenario.h"

namespace hidlaudio::host {

/** Numbers of runs of a scenario: those that have shown the conditions, and all. */
struct Rate {
    unsigned shown = 0;
    unsigned runs = 0;
};

// NOLINTBEGIN(readability-redundant-member-init): for g++
struct ShrinkOptions {
    std::vector<std::string> until;  // conditions that a run must show, all of them
    std::string daemon{};            // path of the daemon's program; "" for that of this program's folder
    unsigned jobs = 0;               // concurrent runs; 0 for two per processor
    unsigned tries = 0;              // runs of a scenario; 0 for the default
    /** Called after each run with the number of lines left and of all runs so far. */
    std::function<void(size_t lines, unsigned runs)> progress{};
};
// NOLINTEND(readability-redundant-member-init)

struct ShrinkResult {
    enum class Outcome {
        Shrunk,
        NotShown,     // no run of the given scenario has shown the conditions
        Interrupted,  // the scenario is the shortest one so far
        WrongInput,
        Failed,
    };

    Outcome outcome = Outcome::Failed;
    std::string problem;  // error message of WrongInput and Failed
    Scenario scenario;    // the shortest scenario that has shown the conditions
    size_t linesBefore = 0;
    size_t linesAfter = 0;
    unsigned runs = 0;
    unsigned remembered = 0;  // results that were used again
    Rate before;              // of the given scenario
    Rate after;               // of the shortest scenario
};

/**
 * Searches for the shortest scenario that shows the conditions. This process must be single-threaded. Starts
 * programs of this program's folder.
 */
ShrinkResult shrink(const Scenario& scenario, const ShrinkOptions& options, const Interrupt& interrupt);

/** Returns the files beside the scenario whose names are words or JSON texts of its lines. */
std::set<std::string> neededFiles(const Scenario& scenario);

}  // namespace hidlaudio::host
