// SPDX-License-Identifier: Apache-2.0
#include "scenario.h"

#include <android-base/stringprintf.h>
#include <android-base/strings.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <sstream>

#include "host/program/program_folder.h"
#include "scenario_line.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using android::base::StringPrintf;

constexpr char kSuffix[] = ".scenario";

bool isClient(const ScenarioLine& line) {
    return line.kind == ScenarioLine::Kind::Call || line.words[0] == "audioctl";
}

/** Returns an error message if the line uses a variable that no line before it stores, or "". */
std::string unknownVariable(const ScenarioLine& line, const Scenario& scenario) {
    std::set<std::string> names = variablesIn(line.call.arguments);
    for (const ScenarioLine& earlier : scenario.lines) names.erase(earlier.call.variable);
    return names.empty() ? "" : "no line before it stores $" + *names.begin();
}

/** Adds a line to the scenario. Returns an error message, or "". */
std::string addLine(const std::string& text, unsigned number, bool isFirst, Scenario& scenario) {
    ScenarioLine line;
    line.number = number;
    std::string problem = parseScenarioLine(text, line);
    if (problem.empty()) problem = unknownVariable(line, scenario);
    if (!problem.empty()) return problem;
    if (line.words[0] == "tv" && line.words[1] == "init") {
        if (!isFirst) return "`tv init` can only be the first command";
        scenario.model.assign(line.words.begin() + 2, line.words.end());
        return "";
    }
    scenario.boots = scenario.boots || (line.kind == ScenarioLine::Kind::Boot &&
                                        std::none_of(scenario.lines.begin(), scenario.lines.end(), isClient));
    scenario.lines.push_back(line);
    return "";
}

std::string pathOf(const std::string& nameOrPath) {
    const bool isName =
        nameOrPath.find('/') == std::string::npos && nameOrPath.find('.') == std::string::npos;
    return isName ? scenarioFolder() + "/" + nameOrPath + kSuffix : nameOrPath;
}

/** Returns the text after the # of a comment and one space, or `std::nullopt` if the line is a command. */
std::optional<std::string> commentIn(const std::string& text) {
    const size_t start = text.find_first_not_of(" \t\r");
    if (start == std::string::npos) return "";
    if (text[start] != '#') return std::nullopt;
    return text.substr(std::min(text.size(), start + 2));
}

}  // namespace

std::string scenarioFolder() {
    return fs::path(programFolder()).parent_path() / "share/hidlaudio/scenarios";
}

std::vector<std::string> scenarioNames() {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(scenarioFolder(), error)) {
        if (entry.path().extension() == kSuffix) names.push_back(entry.path().stem());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string readScenario(const std::string& nameOrPath, Scenario& scenario) {
    const std::string path = pathOf(nameOrPath);
    std::ifstream file(path, std::ios::binary);
    std::error_code error;
    if (!file || !fs::is_regular_file(path, error))
        return path + ": the scenario does not exist; `tv_stress sweep --list` prints the scenarios";
    return parseScenario(path, {std::istreambuf_iterator<char>(file), {}}, scenario);
}

std::string parseScenario(const std::string& path, const std::string& text, Scenario& scenario) {
    scenario = {};
    scenario.name = fs::path(path).stem();
    scenario.path = fs::absolute(path);
    bool isFirst = true;
    unsigned number = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (const auto comment = commentIn(line)) {
            if (scenario.about.empty()) scenario.about = *comment;
            continue;
        }
        const std::string problem = addLine(line, number, isFirst, scenario);
        if (!problem.empty()) return StringPrintf("%s:%u: %s", path.c_str(), number, problem.c_str());
        isFirst = false;
    }
    return scenario.lines.empty() ? path + ": the scenario has no command" : "";
}

std::string scenarioText(const Scenario& scenario) {
    std::string text = scenario.about.empty() ? "" : "# " + scenario.about + "\n";
    if (!scenario.model.empty()) text += "tv init " + android::base::Join(scenario.model, ' ') + "\n";
    for (const ScenarioLine& line : scenario.lines) text += line.text + "\n";
    return text;
}

}  // namespace hidlaudio::host
