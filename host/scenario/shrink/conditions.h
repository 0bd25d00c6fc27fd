// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "host/scenario/scenario_run.h"

namespace hidlaudio::host {

/** A run of a scenario that has ended. Its folder still exists; its programs do not run any more. */
struct FinishedRun {
    const Scenario& scenario;
    const RunSetup& setup;
    const RunResult& result;
};

/** Returns whether a run shows the behavior that a user looks for. */
using Condition = std::function<bool(const FinishedRun& run)>;

/**
 * Parses the text of a condition, such as "log:TEXT". Returns an error message with the list of the kinds, or
 * "".
 */
std::string parseCondition(const std::string& text, Condition& condition);

/** Returns the forms of a condition and their meanings, one per line, as in a help text. */
std::string conditionKinds();

}  // namespace hidlaudio::host
