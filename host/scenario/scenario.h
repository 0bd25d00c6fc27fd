// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "host/program/json.h"

namespace hidlaudio::host {

/** A HIDL call by a client process that lives until the end of the scenario. */
struct ScenarioCall {
    std::string client;
    std::string interface;  // descriptor, of the newest version unless the line has another
    std::string method;
    Json arguments;        // an object
    std::string variable;  // receives the result for later lines; "" if the result is not used
};

/** A line of a scenario. */
struct ScenarioLine {
    enum class Kind {
        Command,  // a command of `audioctl`, or of `tv` that changes a setting
        Boot,     // `tv boot`: starts the programs that do not run
        Shutdown,
        Call,   // `client NAME INTERFACE.METHOD [ARGUMENTS] [> VARIABLE]`
        Kill,   // `kill PROGRAM` or `kill CLIENT`
        Await,  // `await TEXT`: waits for a line of the daemon's log that contains the text
        File,   // `file PATH hex DIGITS` or `file PATH copy NAME`: writes a file of the TV
    };

    unsigned number = 0;
    std::string text;
    Kind kind = Kind::Command;
    std::vector<std::string> words;  // without "&"
    bool background = false;         // whether the next lines do not wait for the result
    ScenarioCall call;               // Call
    std::string content;             // Await: the text. File: the bytes after `hex`
};

/** The content of a scenario file. */
struct Scenario {
    std::string name;
    std::string path;
    std::string about;               // first comment
    std::vector<std::string> model;  // options of `tv init`
    std::vector<ScenarioLine> lines;
    bool boots = false;  // whether a `tv boot` comes before the first command or call of a client
};

/** Returns the folder of the scenarios that are installed with the program. */
std::string scenarioFolder();

/** Returns the sorted names of the installed scenarios. */
std::vector<std::string> scenarioNames();

/**
 * Reads the scenario with this name or path. Returns an error message, with file and line, or "".
 */
std::string readScenario(const std::string& nameOrPath, Scenario& scenario);

/** Parses the text of a scenario. `path` is used in messages and to find the files that lines name. */
std::string parseScenario(const std::string& path, const std::string& text, Scenario& scenario);

/** Returns the text of the scenario: what parseScenario() reads, without comments but the first. */
std::string scenarioText(const Scenario& scenario);

}  // namespace hidlaudio::host
