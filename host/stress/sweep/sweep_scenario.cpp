// SPDX-License-Identifier: Apache-2.0
#include "sweep_scenario.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "host/program/program_folder.h"
#include "host/program/split_text.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;

constexpr char kSuffix[] = ".scenario";
constexpr const char* kTvCommands[] = {"init", "boot", "shutdown", "config", "eeprom", "fault", "bectrl"};

bool isTvCommand(const std::string& word) {
    return std::find(std::begin(kTvCommands), std::end(kTvCommands), word) != std::end(kTvCommands);
}

/** Returns why the line is not a valid command, or `nullptr` if it is valid. */
const char* mistakeIn(const ScenarioLine& line, bool isFirst) {
    const std::string& program = line.words[0];
    if (program != "tv" && program != "audioctl") return "the line is not a command of `tv` or `audioctl`";
    if (line.words.size() < 2) return "the command is missing";
    if (program == "audioctl") return nullptr;
    if (line.background) return "only commands of `audioctl` can run in the background";
    if (!isTvCommand(line.words[1]))
        return "the commands of `tv` are init, boot, shutdown, config, eeprom, fault, bectrl";
    if (line.words[1] == "init") return isFirst ? nullptr : "`tv init` can only be the first command";
    const bool alone = line.words[1] == "boot" || line.words[1] == "shutdown";
    return alone && line.words.size() > 2 ? "this command takes no arguments in a scenario" : nullptr;
}

/** Adds a command to the scenario. */
void add(const ScenarioLine& line, Scenario& scenario) {
    const bool isBoot = line.words[0] == "tv" && line.words[1] == "boot";
    const auto isClient = [](const ScenarioLine& each) { return each.words[0] == "audioctl"; };
    scenario.boots =
        scenario.boots || (isBoot && std::none_of(scenario.lines.begin(), scenario.lines.end(), isClient));
    scenario.lines.push_back(line);
}

/** Adds a line to the scenario. Returns an error message, or `nullptr`. */
const char* parseLine(const std::string& text, unsigned number, bool& isFirst, Scenario& scenario) {
    ScenarioLine line{number, text, splitWords(text)};
    if (line.words.empty()) return nullptr;
    if (line.words[0][0] == '#') {
        if (scenario.about.empty()) scenario.about = text.substr(std::min(text.size(), text.find('#') + 2));
        return nullptr;
    }
    line.background = line.words.back() == "&";
    if (line.background) line.words.pop_back();
    const char* const mistake = line.words.empty() ? "the command is missing" : mistakeIn(line, isFirst);
    isFirst = false;
    if (mistake != nullptr) return mistake;
    if (line.words[1] == "init") {
        scenario.model.assign(line.words.begin() + 2, line.words.end());
    } else {
        add(line, scenario);
    }
    return nullptr;
}

std::string pathOf(const std::string& nameOrPath) {
    const bool isName =
        nameOrPath.find('/') == std::string::npos && nameOrPath.find('.') == std::string::npos;
    return isName ? scenarioFolder() + "/" + nameOrPath + kSuffix : nameOrPath;
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
    std::ifstream file(path);
    std::error_code error;
    if (!file || !fs::is_regular_file(path, error))
        return path + ": the scenario does not exist; `tv_stress sweep --list` prints the scenarios";
    scenario = {};
    scenario.name = fs::path(path).stem();
    scenario.path = fs::absolute(path);
    bool isFirst = true;
    unsigned number = 0;
    for (std::string text; std::getline(file, text);) {
        if (const char* mistake = parseLine(text, ++number, isFirst, scenario); mistake != nullptr)
            return path + ":" + std::to_string(number) + ": " + mistake;
    }
    return scenario.lines.empty() ? path + ": the scenario has no command" : "";
}

}  // namespace hidlaudio::host
