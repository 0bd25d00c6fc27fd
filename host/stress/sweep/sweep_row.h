// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sweep_run.h"

namespace hidlaudio::host {

/** A file of the TV that is not what it is after an untouched run. */
struct FileDifference {
    std::string path;
    std::string is;   // "(none)" where there is no such file
    std::string was;  // after the untouched run
};

/** The first line of a scenario that came out otherwise than in an untouched run. */
struct LineDifference {
    unsigned line = 0;  // 0: none did
    ChildStatus status = 0;
    std::string message;
};

/** What became of a run with one fault. */
struct SweepRow {
    std::string source, call, target;
    unsigned boot = 0, nth = 0;
    std::string fault;
    bool injected = false;
    LineDifference client;
    std::vector<std::string> log;
    std::vector<FileDifference> files;
    std::vector<std::string> flags;  // what must not be
};

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(FileDifference, path, is, was)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(LineDifference, line, status, message)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SweepRow, source, call, target, boot, nth, fault, injected, client, log,
                                   files, flags)

/** Compares a run with a fault to the untouched one of the same scenario. */
SweepRow compareRuns(const Scenario& scenario, const RunResult& untouched, const SweptFault& fault,
                     const RunResult& run);

/** What is wrong with an untouched run itself: then there is nothing to compare with. */
std::vector<std::string> problemsUntouched(const Scenario& scenario, const RunResult& untouched);

}  // namespace hidlaudio::host
