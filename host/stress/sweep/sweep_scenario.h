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
    bool background = false;  // it runs until the scenario's end
};

/** What is done with a TV, from a file. */
struct Scenario {
    std::string name;
    std::string path;
    std::string about;               // the file's first comment
    std::vector<std::string> model;  // the options of its `tv init`
    std::vector<ScenarioLine> lines;
    bool boots = false;  // a line of its own starts the TV, before the first client
};

/** Where the scenarios lie that come with the program. */
std::string scenarioFolder();

/** The names of those, sorted. */
std::vector<std::string> scenarioNames();

/**
 * Reads the scenario of that name, or of that path. Returns an empty string, or what is
 * wrong, with file and line.
 */
std::string readScenario(const std::string& nameOrPath, Scenario& scenario);

}  // namespace hidlaudio::host
