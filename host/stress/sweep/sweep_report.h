// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sweep_row.h"

namespace hidlaudio::host {

/** The result of sweeping one scenario. */
struct SweepResult {
    std::string scenario;
    size_t calls = 0;                 // calls in the baseline run
    std::vector<std::string> broken;  // violations in the baseline run; if any, nothing was swept
    std::vector<SweepRow> rows;
};

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SweepResult, scenario, calls, broken, rows)

/** Returns the number of flagged runs plus the number of violations in the baseline run. */
size_t flaggedIn(const SweepResult& result);

/** Prints one line per fault, or per flagged fault if `onlyFlagged` is set. */
void printTable(const SweepResult& result, bool onlyFlagged);

nlohmann::json toJson(const SweepResult& result);

}  // namespace hidlaudio::host
