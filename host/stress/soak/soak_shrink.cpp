// SPDX-License-Identifier: Apache-2.0
#include "soak_shrink.h"

#include "host/program/output_file.h"
#include "host/program/terminal.h"
#include "host/reports/scenario_files.h"
#include "host/scenario/shrink/shrink.h"

namespace hidlaudio::host {
namespace {

/** Returns the condition of `tv shrink` for the first violation, or "" if no single run can show it. */
std::string conditionOf(const SoakResult& result) {
    for (const std::string kind : {"crash", "hang"}) {
        if (result.problems.front().rfind(kind + ":", 0) == 0) return kind;
    }
    return "";
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
    if (std::string problem = makeScenarioFiles({tv}, own); !problem.empty()) return problem;
    const std::string path = own + "/" + kScenarioFile;
    const std::string condition = conditionOf(result);
    note("the scenario is " + path);
    return condition.empty() ? "" : shrinkTo(own + "/shortest.scenario", path, condition, interrupt);
}

}  // namespace hidlaudio::host
