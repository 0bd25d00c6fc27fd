// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "host/program/split_text.h"
#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv_control/processes/programs.h"
#include "host/tv_control/state/tv_folder.h"
#include "host/tv_control/state/tv_state.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

using nlohmann::ordered_json;

/** A part of the state: a heading with indented lines, or a member of the JSON object. */
struct Section {
    const char* heading;
    const char* name;
    StateEntries entries;
    bool isList = false;  // the JSON member is an array of the values, not an object
};

StateEntries programState() {
    StateEntries entries;
    for (const std::string program : kPrograms) {
        const auto process = runningProgram(program);
        const std::string text = process ? " process " + std::to_string(process->pid) : " not running";
        entries.push_back(
            {program, process ? ordered_json(process->pid) : ordered_json(nullptr), program + text});
    }
    return entries;
}

std::vector<Section> sectionsOf(const TvModel& model) {
    std::vector<Section> sections{{"Programs", "programs", programState()},
                                  {"Configuration", "config", configState()},
                                  {"EEPROM", "eeprom", eepromState()},
                                  {"Audio HAL parameters", "hal_parameters", halState()},
                                  {"Faults", "faults", faultState()},
                                  {"Stored files", "files", storedFileState()},
                                  {"Wake locks", "wake_locks", wakeLockState(), true},
                                  {"Audio decoder and post-processor", "audio", audioState()}};
    if (model.backEnd) sections.push_back({"Back-end controller", "back_end", backEndState()});
    return sections;
}

void printText(const TvModel& model) {
    printf("TV in %s\n", tvRoot().c_str());
    printf("Model: %s back-end controller, %s centre input\n", model.backEnd ? "with" : "without",
           model.centreInput ? "with" : "without");
    printf("Platform service: %s\n", isPlatformReady() ? "ready" : "not ready");
    for (const Section& section : sectionsOf(model)) {
        printf("%s:%s\n", section.heading, section.entries.empty() ? " none" : "");
        for (const StateEntry& entry : section.entries) {
            for (const std::string& line : splitLines(entry.text)) printf("  %s\n", line.c_str());
        }
    }
}

ordered_json toJson(const Section& section) {
    ordered_json json = section.isList ? ordered_json::array() : ordered_json::object();
    for (const StateEntry& entry : section.entries) {
        if (section.isList) {
            json.push_back(entry.value);
        } else {
            json[entry.name] = entry.value;
        }
    }
    return json;
}

void printJson(const TvModel& model) {
    ordered_json state{{"tv", tvRoot()},
                       {"model", model.backEnd ? "be" : "standard"},
                       {"centre_input", model.centreInput},
                       {"platform_ready", isPlatformReady()}};
    for (const Section& section : sectionsOf(model)) state[section.name] = toJson(section);
    // File names may contain bytes that are not UTF-8.
    printf("%s\n", state.dump(2, ' ', false, ordered_json::error_handler_t::replace).c_str());
}

}  // namespace

void addShow(Command app, int& status) {
    const auto json = std::make_shared<bool>(false);
    const Command command = app.addCommand("show", "Show the state of the TV");
    command.setHelp(
        "Prints the model, the running programs, the configuration, the EEPROM bytes that the daemon reads,\n"
        "the parameters of the audio HAL, the faults, the files that the daemon has stored, the wake locks\n"
        "held, and the state of audio decoder, post-processor and back-end controller.\n"
        "\n"
        "In the JSON output, null means: the program is not running, the value was never set or cannot be\n"
        "read, or the file of the fault is invalid.",
        {"1  the output cannot be written", kNeedsTv}, {"tv show", "tv show --json"});
    command.flag("--json", *json, "Print one JSON object");
    command.onRun([json, &status] {
        const std::optional<TvModel> model = openTv();
        status = model ? kDone : kWrongUsage;
        if (!model) return;
        // Files that cannot be read are missing in the output.
        if (const std::string problem = contentProblem(tvRoot()); !problem.empty()) note(problem);
        if (*json) {
            printJson(*model);
        } else {
            printText(*model);
        }
    });
}

}  // namespace hidlaudio::host
