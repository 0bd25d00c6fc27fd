// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace hidlaudio::host {

/** A line of a scenario: a command of `tv` or `audioctl`. */
struct ScenarioLine {
    unsigned number = 0;
    std::string text;
    std::vector<std::string> words;
    bool background = false;  // whether the command runs until the end of the scenario
};

/** The content of a scenario file. */
struct Scenario {
    std::string name;
    std::string path;
    std::string about;               // first comment
    std::vector<std::string> model;  // options of `tv init`
    std::vector<ScenarioLine> lines;
    bool boots = false;  // whether a `tv boot` comes before the first `audioctl`
};

/** Returns the folder of the scenarios that are installed with the program. */
std::string scenarioFolder();

/** Returns the sorted names of the installed scenarios. */
std::vector<std::string> scenarioNames();

/**
 * Reads the scenario with this name or path. Returns an error message, with file and line, or "".
 */
std::string readScenario(const std::string& nameOrPath, Scenario& scenario);

}  // namespace hidlaudio::host
