// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace hidlaudio::host {

/** The commands of a scenario. The first one may be `tv init`. */
using ScenarioLines = std::vector<std::string>;

/**
 * Returns texts that are simpler than this line, the simplest ones first: with fewer arguments, shorter
 * values or smaller numbers. Repeated simplification ends.
 */
std::vector<std::string> simplerLines(const std::string& line);

/**
 * Returns the scenario with one variable less: not stored if no line uses it, otherwise without the line that
 * stores it and with a number in place of its uses.
 */
std::vector<ScenarioLines> withoutVariable(const ScenarioLines& lines);

/** Removes the lines that use a variable which no line before them stores. */
ScenarioLines withoutOrphans(const ScenarioLines& lines);

}  // namespace hidlaudio::host
