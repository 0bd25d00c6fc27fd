// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "host/program/interrupt.h"
#include "soak_run.h"

namespace hidlaudio::host {

/**
 * Writes the scenario that `tv from-report` makes of the soak's TV to a new folder `soak-SEED` in `folder`.
 * After a crash or a hang, also writes the shortest scenario that shows it, shortest.scenario. Prints the
 * paths of both. Returns an error message, or "".
 */
std::string shrinkSoak(const SoakOptions& options, const SoakResult& result, const std::string& tv,
                       const std::string& folder, const Interrupt& interrupt);

}  // namespace hidlaudio::host
