// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/scenario/scenario_run.h"

namespace hidlaudio::host {

/** A file of the TV that differs from the baseline run. */
struct FileDifference {
    std::string path;
    std::string is;   // content in this run; "(none)" if the file does not exist
    std::string was;  // content in the baseline run
};

/** The first line of a scenario with a different outcome than in the baseline run. */
struct LineDifference {
    unsigned line = 0;  // 0 if all outcomes are the same
    ChildStatus status = 0;
    std::string message;
};

/** The result of a run with one fault. */
struct SweepRow : Injection {
    bool injected = false;
    LineDifference client;
    std::vector<std::string> log;
    std::vector<FileDifference> files;
    std::vector<std::string> flags;  // violations
};

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(FileDifference, path, is, was)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(LineDifference, line, status, message)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SweepRow, source, call, target, boot, nth, fault, injected, client, log,
                                   files, flags)

/** Compares a run with a fault to the baseline run of the same scenario. */
SweepRow compareRuns(const Scenario& scenario, const RunResult& baseline, const Injection& injection,
                     const RunResult& run);

/** Returns the violations in the baseline run itself. If there are any, it is no basis for a comparison. */
std::vector<std::string> baselineProblems(const Scenario& scenario, const RunResult& baseline);

}  // namespace hidlaudio::host
