// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv/processes/programs.h"
#include "host/tv/state/audio_state.h"
#include "host/tv/state/back_end.h"
#include "host/tv/state/tv_folder.h"
#include "host/tv/state/tv_state.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

using nlohmann::ordered_json;

void printHeading(const char* heading, bool any) {
    printf("%s:%s\n", heading, any ? "" : " none");
}

template <typename Number>
std::string orNone(const std::optional<Number>& value) {
    return value ? std::to_string(*value) : "none";
}

void printBackEnd() {
    printHeading("Back-end controller", true);
    printf("  boot state %s\n", orNone(bootState()).c_str());
    for (const UploadState& upload : uploadStates()) printf("  %s\n", describe(upload).c_str());
    for (const std::string& command : customSpecCommands()) printf("  command %s\n", command.c_str());
}

void printAudio() {
    const AudioState audio = audioState();
    printHeading("Audio decoder and post-processor", true);
    printf("  equalizer%s", audio.equalizer.empty() ? " none" : "");
    for (const auto& gain : audio.equalizer) {
        if (gain) {
            printf(" %g", *gain);
        } else {
            printf(" ?");
        }
    }
    printf("\n  volume offset %s\n", orNone(audio.volumeOffset).c_str());
    printf("  speaker delay %s\n", orNone(audio.channelDelay).c_str());
    printf("  post-processor ready %s\n", orNone(audio.postProcessor).c_str());
}

void printText(const TvModel& model) {
    printf("TV in %s\n", tvRoot().c_str());
    printf("Model: %s back-end controller, %s centre input\n", model.backEnd ? "with" : "without",
           model.centreInput ? "with" : "without");
    printf("Platform service: %s\n", isPlatformReady() ? "ready" : "not ready");
    printHeading("Programs", true);
    for (const char* program : kPrograms) {
        const auto process = runningProgram(program);
        printf("  %s %s\n", program,
               process ? ("process " + std::to_string(process->pid)).c_str() : "not running");
    }
    printHeading("Configuration", true);
    for (const ConfigValue& value : configValues()) printf("  %s\n", describe(value).c_str());
    printHeading("EEPROM", true);
    for (const EepromState& state : eepromStates()) printf("  %s\n", describe(state).c_str());
    printHeading("Audio HAL parameters", !halParameters().empty());
    for (const HalParameter& each : halParameters()) {
        printf("  %s %s\n", each.key.c_str(), each.value.c_str());
    }
    printHeading("Faults", !faultStates().empty());
    for (const FaultState& fault : faultStates()) printf("  %s\n", describe(fault).c_str());
    printHeading("Stored files", !storedFiles().empty());
    for (const StoredFile& file : storedFiles()) {
        printf("  %s %ju bytes %s\n", file.path.c_str(), static_cast<uintmax_t>(file.size), file.hex.c_str());
    }
    printHeading("Wake locks", !wakeLocks().empty());
    for (const std::string& name : wakeLocks()) printf("  %s\n", name.c_str());
    printAudio();
    if (model.backEnd) printBackEnd();
}

template <typename Value>
ordered_json orNull(const std::optional<Value>& value) {
    return value ? ordered_json(*value) : ordered_json(nullptr);
}

ordered_json programsAsJson() {
    ordered_json programs = ordered_json::object();
    for (const char* program : kPrograms) {
        const auto process = runningProgram(program);
        programs[program] = process ? ordered_json(process->pid) : ordered_json(nullptr);
    }
    return programs;
}

ordered_json configAsJson() {
    ordered_json config = ordered_json::object();
    for (const ConfigValue& value : configValues()) {
        config[value.key] = value.number ? ordered_json(*value.number) : ordered_json(nullptr);
    }
    return config;
}

ordered_json eepromAsJson() {
    ordered_json eeprom = ordered_json::object();
    for (const EepromState& state : eepromStates()) eeprom[state.name] = orNull(state.byte);
    return eeprom;
}

ordered_json halParametersAsJson() {
    ordered_json parameters = ordered_json::object();
    for (const HalParameter& parameter : halParameters()) parameters[parameter.key] = parameter.value;
    return parameters;
}

ordered_json faultsAsJson() {
    ordered_json faults = ordered_json::object();
    for (const FaultState& fault : faultStates()) {
        ordered_json& entry = faults[fault.function] = nullptr;
        if (!fault.setting) continue;
        entry = {{"status", fault.setting->status}};
        if (fault.setting->kind == FaultKind::Delays) entry = {{"delay", fault.setting->delay}};
        if (fault.setting->kind == FaultKind::Dies) entry = {{"dies", true}};
        if (fault.setting->count != 0) entry["count"] = fault.setting->count;
        if (fault.setting->pass != 0) entry["pass"] = fault.setting->pass;
    }
    return faults;
}

ordered_json filesAsJson() {
    ordered_json files = ordered_json::object();
    for (const StoredFile& file : storedFiles()) {
        ordered_json& entry = files[file.path] = {{"size", file.size}};
        if (!file.hex.empty()) entry["hex"] = file.hex;
    }
    return files;
}

ordered_json audioAsJson() {
    const AudioState audio = audioState();
    ordered_json equalizer = ordered_json::array();
    for (const auto& gain : audio.equalizer) equalizer.push_back(orNull(gain));
    return {{"equalizer", equalizer},
            {"volume_offset", orNull(audio.volumeOffset)},
            {"speaker_delay", orNull(audio.channelDelay)},
            {"post_processor_ready", orNull(audio.postProcessor)}};
}

ordered_json backEndAsJson() {
    ordered_json backEnd{{"boot_state", orNull(bootState())}};
    for (const UploadState& upload : uploadStates()) {
        backEnd[nameOf(upload.kind)] = {{"state", orNull(upload.state)},
                                        {"result", orNull(upload.result)},
                                        {"received", orNull(upload.received)}};
    }
    backEnd["commands"] = customSpecCommands();
    return backEnd;
}

void printJson(const TvModel& model) {
    ordered_json state{{"tv", tvRoot()},
                       {"model", model.backEnd ? "be" : "standard"},
                       {"centre_input", model.centreInput},
                       {"platform_ready", isPlatformReady()},
                       {"programs", programsAsJson()},
                       {"config", configAsJson()},
                       {"eeprom", eepromAsJson()},
                       {"hal_parameters", halParametersAsJson()},
                       {"faults", faultsAsJson()},
                       {"files", filesAsJson()},
                       {"wake_locks", wakeLocks()},
                       {"audio", audioAsJson()}};
    if (model.backEnd) state["back_end"] = backEndAsJson();
    // File names may contain bytes that are not UTF-8.
    printf("%s\n", state.dump(2, ' ', false, ordered_json::error_handler_t::replace).c_str());
}

}  // namespace

void addShow(CLI::App& app, int& status) {
    const auto json = std::make_shared<bool>(false);
    CLI::App* command = app.add_subcommand("show", "Show the state of the TV");
    command->footer(
        "Prints the model, the running programs, the configuration, the EEPROM bytes that the daemon reads,\n"
        "the parameters of the audio HAL, the faults, the files that the daemon has stored, the wake locks\n"
        "held, and the state of audio decoder, post-processor and back-end controller.\n"
        "\n"
        "In the JSON output, null means: the program is not running, the value was never set or cannot be\n"
        "read, or the file of the fault is invalid.\n"
        "\n"
        "Exit status:\n"
        "  1  the output cannot be written\n"
        "  2  the arguments are wrong, or the folder is not a TV\n"
        "\n"
        "Examples:\n"
        "  tv show\n"
        "  tv show --json");
    command->add_flag("--json", *json, "Print one JSON object");
    command->callback([json, &status] {
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
