// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "host/program/interrupt.h"
#include "sweep_row.h"

namespace hidlaudio::host {

/** A flagged run of a sweep. */
struct Finding {
    const Scenario& scenario;
    SweepRow row;
};

/** Returns the scenario with a line `tv fault` that injects the fault; `tv boot` is added if it has none. */
std::string withFaultLine(const Scenario& scenario, const Injection& injection);

/**
 * Writes the shortest scenario that still has the first violation of each finding to a file in `folder`,
 * which is created. Prints a line to standard error for each finding. Violations that need a comparison with
 * the baseline run, such as a leak, are skipped. Returns an error message, or "".
 */
std::string shrinkFindings(const std::vector<Finding>& findings, const std::string& folder, unsigned jobs,
                           const Interrupt& interrupt);

}  // namespace hidlaudio::host
