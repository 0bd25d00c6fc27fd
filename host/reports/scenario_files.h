// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "make_scenario.h"

namespace hidlaudio::host {

/** The scenario in the folder of writeScenarioFiles(). */
constexpr char kScenarioFile[] = "report.scenario";

/**
 * Writes the scenario, its files, the notes, and report.log if the report has a log, to a folder, which is
 * created. Returns an error message, or "".
 */
std::string writeScenarioFiles(const MadeScenario& scenario, const std::string& folder);

/** Makes a scenario from the files of a report and writes it like writeScenarioFiles(). */
std::string makeScenarioFiles(const std::vector<std::string>& report, const std::string& folder);

}  // namespace hidlaudio::host
