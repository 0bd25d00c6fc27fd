// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv/state/back_end.h"
#include "host/tv/state/tv_folder.h"
#include "host/tv_files/back_end_behaviour.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

void print(UploadKind kind, const BackEndBehaviour& behaviour) {
    for (size_t i = 0; i < std::size(kBackEndSettings); ++i) {
        const auto setting = static_cast<BackEndSetting>(i);
        if (!infoOf(setting).perKind) continue;
        printf("%s %s %s\n", nameOf(kind), std::string(infoOf(setting).name).c_str(),
               formatValue(setting, behaviour.value(kind, setting)).c_str());
    }
}

int list(const std::vector<BehaviourLine>& lines) {
    const BackEndBehaviour behaviour(lines);
    const int32_t openFails = behaviour.value(UploadKind::Device, BackEndSetting::OpenFails);
    printf("open_fails %s\n", formatValue(BackEndSetting::OpenFails, openFails).c_str());
    for (const UploadKind kind : kUploadKinds) print(kind, behaviour);
    for (const UploadState& upload : uploadStates()) printf("%s\n", describe(upload).c_str());
    return kDone;
}

/** A setting for both kinds takes the place of those for one kind. */
int set(std::vector<BehaviourLine> lines, const BehaviourLine& line) {
    const auto isReplaced = [&line](const BehaviourLine& old) {
        return old.setting == line.setting && (!line.kind || old.kind == line.kind);
    };
    lines.erase(std::remove_if(lines.begin(), lines.end(), isReplaced), lines.end());
    lines.push_back(line);
    std::string text;
    for (const BehaviourLine& each : lines) text += formatBehaviourLine(each) + "\n";
    const std::string path = tvRoot() + kBehaviourFile;
    const int error = writeValueFile(path, text);
    return error == 0 ? kDone : fail(fileError(path, error));
}

int bectrl(const std::vector<std::string>& words) {
    const std::optional<TvModel> model = openTv();
    if (!model) return kWrongUsage;
    if (!model->backEnd)
        return fail("this TV has no back-end controller; `tv init --model be` makes one that has");
    std::vector<BehaviourLine> lines;
    std::string problem;
    if (!readBehaviourLines(tvRoot(), lines, problem)) return fail(problem);
    if (words.empty()) return list(lines);
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    const std::optional<BehaviourLine> line = parseBehaviourLine(text, problem);
    return line ? set(lines, *line) : fail(problem, kWrongUsage);
}

std::string allSettings() {
    std::string text;
    for (const BackEndSettingInfo& info : kBackEndSettings) {
        text += "\n  " + std::string(info.name) + "  " + info.accepted;
    }
    return text;
}

}  // namespace

void addBectrl(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand("bectrl", "Show or set how the back-end controller behaves");
    command->footer(
        "Without SETTING all are listed, and how the uploads stand. The settings lie in bectrl/behaviour;\n"
        "they take effect at the next command to the controller. With device or hrtf before it, a setting\n"
        "is for that kind of upload alone.\n\nSettings:" +
        allSettings() +
        "\n\nExamples:\n"
        "  tv bectrl rate 100000\n"
        "  tv bectrl hrtf result 0xF3\n"
        "  tv bectrl hang on");
    const CLI::Option* const options[] = {addText(command, "[device|hrtf]", "For that kind of upload alone"),
                                          addText(command, "SETTING", "The setting to change"),
                                          addText(command, "VALUE", "Its value")};
    command->callback([first = options[0], second = options[1], third = options[2], &status] {
        std::vector<std::string> words;
        for (const CLI::Option* option : {first, second, third}) {
            if (option->count() > 0) words.push_back(option->results().front());
        }
        status = bectrl(words);
    });
}

}  // namespace hidlaudio::host
