// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/stress/harness/test_tv.h"
#include "sweep_faults.h"
#include "sweep_scenario.h"

namespace hidlaudio::host {

/** What a client saw of a line. */
struct LineOutcome {
    ChildStatus status = 0;
    std::string output;
    std::string errors;
};

/** What came of a scenario. */
struct RunResult {
    std::vector<LineOutcome> lines;
    std::vector<SweptCall> calls;       // that the lines caused: not a start of the TV that is none of them
    bool injected = false;              // whether the call with the fault was made
    std::vector<std::string> log;       // the daemon's warnings and errors: "W tag: text"
    std::vector<std::string> problems;  // what no fault tolerated
    TvFiles files;
    Usage usage;
};

/** The size of the file that the lines can upload: enough for a lost one to be seen. */
constexpr size_t kParametersSize = 1048576;

/** How much faster the time of the TV passes: what takes 20 s there takes the better part of one. */
constexpr unsigned kSweepClock = 25;

/** What a run is measured by: the usage it must come down to. */
struct RunSetup {
    std::string model;                // the folder of a new TV of the scenario's model
    std::string folder;               // where the run's own TV is to lie; must not exist
    std::string parameters;           // a file to upload, which the lines know as parameters.bin
    std::optional<SweptFault> fault;  // none: the run is untouched
    Usage usage;                      // which a run with a fault must come down to
};

/** Runs the scenario on a copy of the model, and leaves nothing running; the folder stays. */
RunResult runScenario(const Scenario& scenario, const RunSetup& setup);

}  // namespace hidlaudio::host
