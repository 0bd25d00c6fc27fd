// SPDX-License-Identifier: Apache-2.0
#include "scenario_files.h"

#include <filesystem>
#include <utility>
#include <vector>

#include "host/program/output_file.h"

namespace hidlaudio::host {

std::string writeScenarioFiles(const MadeScenario& scenario, const std::string& folder) {
    namespace fs = std::filesystem;
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

}  // namespace hidlaudio::host
