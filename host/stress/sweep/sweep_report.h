// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sweep_row.h"

namespace hidlaudio::host {

/** What a sweep of one scenario has found. */
struct SweepResult {
    std::string scenario;
    size_t calls = 0;                 // that the daemon made
    std::vector<std::string> broken;  // why there was nothing to sweep; the untouched run's own faults
    std::vector<SweepRow> rows;
};

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SweepResult, scenario, calls, broken, rows)

/** How many runs, and broken untouched ones, show what must not be. */
size_t flaggedIn(const SweepResult& result);

/** A line each call and fault; of the flagged ones alone if `onlyFlagged`. */
void printTable(const SweepResult& result, bool onlyFlagged);

nlohmann::json toJson(const SweepResult& result);

}  // namespace hidlaudio::host
