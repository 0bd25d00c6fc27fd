// SPDX-License-Identifier: Apache-2.0
#include "sweep_shrink.h"

#include <algorithm>
#include <filesystem>

#include "host/program/output_file.h"
#include "host/program/terminal.h"
#include "host/scenario/shrink/shrink.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using Kind = ScenarioLine::Kind;

/** Returns whether a run of a scenario reports the violation by itself, and `tv fault` injects the fault. */
bool isShrinkable(const SweepRow& row) {
    constexpr const char* kKinds[] = {"crash:", "hang:", "start:", "services:"};
    return !killsDaemon(row) && std::any_of(std::begin(kKinds), std::end(kKinds), [&](const char* kind) {
        return row.flags[0].rfind(kind, 0) == 0;
    });
}

std::string nameOf(const Finding& finding) {
    const SweepRow& row = finding.row;
    return finding.scenario.name + "-" + row.call + "-" + std::to_string(row.boot) + "-" +
           std::to_string(row.nth) + "-" + row.fault + ".scenario";
}

/** Copies the files that the scenario needs beside it, except those that exist. Returns a message, or "". */
std::string copyFiles(const Scenario& scenario, const std::string& folder) {
    const fs::path source = fs::path(scenario.path).parent_path();
    for (const std::string& file : neededFiles(scenario)) {
        std::error_code error;
        fs::create_directories((folder / fs::path(file)).parent_path(), error);
        fs::copy_file(source / file, folder / fs::path(file), fs::copy_options::skip_existing, error);
        if (error) return (folder / fs::path(file)).string() + ": " + error.message();
    }
    return "";
}

/** Returns an error message, or "". */
std::string shrinkFinding(const Finding& finding, const std::string& folder, unsigned jobs,
                          const Interrupt& interrupt) {
    const std::string name = nameOf(finding);
    const auto report = [&name](const std::string& text) {
        note(name + ": " + text);
        return std::string();
    };
    if (!isShrinkable(finding.row)) return report("skipped, cannot be shrunk: " + finding.row.flags[0]);
    Scenario scenario;
    const std::string text = withFaultLine(finding.scenario, finding.row);
    if (std::string problem = parseScenario(finding.scenario.path, text, scenario); !problem.empty())
        return problem;
    ShrinkOptions options;
    options.until = {"problem:" + finding.row.flags[0]};
    options.jobs = jobs;
    const ShrinkResult result = shrink(scenario, options, interrupt);
    if (!result.problem.empty()) return result.problem;
    if (result.outcome == ShrinkResult::Outcome::Interrupted) return "interrupted";
    if (result.outcome == ShrinkResult::Outcome::NotShown)
        return report("skipped, `tv fault` does not reproduce: " + finding.row.flags[0]);
    std::string problem = writeOutputFile(folder + "/" + name, scenarioText(result.scenario));
    if (problem.empty()) problem = copyFiles(result.scenario, folder);
    return problem.empty() ? report(std::to_string(result.linesAfter) + " lines") : problem;
}

}  // namespace

std::string withFaultLine(const Scenario& scenario, const Injection& injection) {
    ScenarioLine fault, boot;
    fault.text =
        "tv fault " + injection.call + " " + injection.fault + " 1 " + std::to_string(injection.nth - 1);
    boot.text = "tv boot";
    boot.kind = Kind::Boot;
    Scenario copy = scenario;
    if (!copy.boots) copy.lines.insert(copy.lines.begin(), boot);
    unsigned starts = 0;
    bool isRunning = false;
    for (size_t i = 0; i < copy.lines.size(); ++i) {
        const ScenarioLine& line = copy.lines[i];
        const bool isKill = line.kind == Kind::Kill && line.words[1] == "hidlaudio";
        if (line.kind == Kind::Boot && !isRunning && starts++ == injection.boot) {
            copy.lines.insert(copy.lines.begin() + static_cast<ptrdiff_t>(i), fault);
            break;
        }
        isRunning = line.kind == Kind::Boot || (isRunning && line.kind != Kind::Shutdown && !isKill);
    }
    return scenarioText(copy);
}

std::string shrinkFindings(const std::vector<Finding>& findings, const std::string& folder, unsigned jobs,
                           const Interrupt& interrupt) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) return folder + ": " + error.message();
    for (const Finding& finding : findings) {
        std::string problem = shrinkFinding(finding, folder, jobs, interrupt);
        if (!problem.empty()) return problem;
    }
    return "";
}

}  // namespace hidlaudio::host
