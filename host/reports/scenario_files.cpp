// SPDX-License-Identifier: Apache-2.0
#include "scenario_files.h"

#include <filesystem>
#include <utility>

#include "host/program/output_file.h"
#include "report_files.h"

namespace hidlaudio::host {

std::string writeScenarioFiles(const MadeScenario& scenario, const std::string& folder) {
    namespace fs = std::filesystem;
    std::error_code made;
    fs::create_directories(folder, made);
    if (made) return folder + ": " + made.message();
    std::vector<std::pair<std::string, const std::string*>> files{{kScenarioFile, &scenario.text},
                                                                  {"notes.txt", &scenario.notes}};
    if (!scenario.log.empty()) files.emplace_back("report.log", &scenario.log);
    for (const auto& [name, content] : scenario.files) files.emplace_back(name, &content);
    for (const auto& [name, content] : files) {
        const std::string problem = writeOutputFile(fs::path(folder) / name, *content);
        if (!problem.empty()) return problem;
    }
    for (const auto& [name, source] : scenario.sources) {
        std::error_code error;
        fs::copy_file(source, fs::path(folder) / name, error);
        if (error) return source + ": " + error.message();
    }
    return "";
}

std::string makeScenarioFiles(const std::vector<std::string>& report, const std::string& folder) {
    Report content;
    MadeScenario scenario;
    std::string problem = readReportFiles(report, content);
    if (problem.empty()) problem = makeScenario(content, scenario);
    return problem.empty() ? writeScenarioFiles(scenario, folder) : problem;
}

}  // namespace hidlaudio::host
