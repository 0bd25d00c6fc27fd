// SPDX-License-Identifier: Apache-2.0
#include "soak_shrink.h"

#include <filesystem>

#include "host/program/output_file.h"
#include "host/program/terminal.h"
#include "host/reports/make_scenario.h"
#include "host/reports/report_files.h"
#include "host/reports/scenario_files.h"
#include "host/scenario/shrink/shrink.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;

/** Returns the condition of `tv shrink` for the first violation, or "" if a run does not show it by itself.
 */
std::string conditionOf(const SoakResult& result) {
    for (const std::string kind : {"crash", "hang"}) {
        if (result.problems.front().rfind(kind + ":", 0) == 0) return kind;
    }
    return "";
}

/** Makes a scenario from the TV's log and files, in a new folder. Returns an error message, or "". */
std::string writeScenario(const std::string& tv, const std::string& folder) {
    Report report;
    MadeScenario scenario;
    std::string problem = readReportFiles({tv}, report);
    if (problem.empty()) problem = makeScenario(report, scenario);
    if (!problem.empty()) return problem;
    std::error_code error;
    fs::create_directories(folder, error);
    return error ? folder + ": " + error.message() : writeScenarioFiles(scenario, folder);
}

std::string shrinkTo(const std::string& output, const std::string& path, const std::string& condition,
                     const Interrupt& interrupt) {
    Scenario scenario;
    if (std::string problem = readScenario(path, scenario); !problem.empty()) return problem;
    const ShrinkResult result = shrink(scenario, {{condition}}, interrupt);
    if (!result.problem.empty()) return result.problem;
    if (result.before.shown == 0) {
        note(path + " does not show the violation; the random clients were faster or slower");
        return "";
    }
    note(output + ": " + std::to_string(result.linesAfter) + " lines");
    return writeOutputFile(output, scenarioText(result.scenario));
}

}  // namespace

std::string shrinkSoak(const SoakOptions& options, const SoakResult& result, const std::string& tv,
                       const std::string& folder, const Interrupt& interrupt) {
    const std::string own = folder + "/soak-" + std::to_string(options.seed);
    if (std::string problem = writeScenario(tv, own); !problem.empty()) return problem;
    const std::string path = own + "/" + kScenarioFile;
    const std::string condition = conditionOf(result);
    note("the scenario is " + path);
    return condition.empty() ? "" : shrinkTo(own + "/shortest.scenario", path, condition, interrupt);
}

}  // namespace hidlaudio::host
