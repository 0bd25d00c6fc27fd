// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "client_process.h"
#include "host/scenario/harness/test_tv.h"
#include "injection.h"
#include "scenario.h"

namespace hidlaudio::host {

/** The result of one run of a scenario. */
struct RunResult {
    std::vector<LineOutcome> lines;
    std::map<std::string, std::vector<std::string>> callbacks;  // by client: "OBJECT.METHOD ARGUMENTS"
    std::vector<SweptCall> calls;       // calls of the run, without those of an implicit boot
    bool injected = false;              // whether the call with the fault was made
    std::vector<std::string> log;       // the daemon's warnings and errors: "W tag: text"
    std::vector<std::string> problems;  // violations that no fault explains
    TvFiles files;
    Usage usage;
};

/** Size of parameters.bin in bytes. Large enough for a leaked upload to exceed the tolerance. */
constexpr size_t kParametersSize = 1048576;

/** HIDLAUDIO_CLOCK of the TV's programs: a time-out of 20 s takes 0.8 s. */
constexpr unsigned kSweepClock = 25;

/** The input of a run. */
struct RunSetup {
    std::string model;                   // folder of a new TV of the scenario's model
    std::string folder;                  // folder for the run's own TV; must not exist
    std::string parameters;              // path of the file that the lines use as parameters.bin
    std::optional<Injection> injection;  // `nullopt` for the baseline run
    Usage usage;                         // of the baseline run, as the limit for a run with a fault
    // Path of the daemon's program, or "" for that of this program's folder.
    std::string daemon{};  // NOLINT(readability-redundant-member-init): for g++
};

/** Runs the scenario on a copy of the model. Stops all processes, but keeps the folder. */
RunResult runScenario(const Scenario& scenario, const RunSetup& setup);

/** Returns whether a violation of RunResult::problems is that the daemon ended by itself. */
bool isCrash(const std::string& problem);

}  // namespace hidlaudio::host
