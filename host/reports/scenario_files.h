// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "make_scenario.h"

namespace hidlaudio::host {

/** The scenario in the folder of writeScenarioFiles(). */
constexpr char kScenarioFile[] = "report.scenario";

/**
 * Writes the scenario, its files, the notes, and report.log if the report has a log, to an existing folder.
 * Returns an error message, or "".
 */
std::string writeScenarioFiles(const MadeScenario& scenario, const std::string& folder);

}  // namespace hidlaudio::host
