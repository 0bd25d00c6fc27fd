// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>

#include "scenario.h"

namespace hidlaudio::host {

/** Parses one command of a scenario. Returns an error message, or "". Does not change `line.number`. */
std::string parseScenarioLine(const std::string& text, ScenarioLine& line);

/** Sets the text of a Call line from its `call` and `background`. */
void formatCall(ScenarioLine& line);

/** Returns the names of the variables that the value uses. */
std::set<std::string> variablesIn(const Json& value);

/** Returns the descriptor of the interface of a registered service: "IHdmiAudio" is its newest version. */
std::string descriptorOf(const std::string& interface);

}  // namespace hidlaudio::host
