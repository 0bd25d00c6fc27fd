// SPDX-License-Identifier: Apache-2.0
#include <android-base/strings.h>
#include <stdio.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv_control/state/tv_folder.h"
#include "host/tv_control/state/tv_state.h"
#include "host/tv_files/back_end_behaviour.h"
#include "host/tv_files/back_end_files.h"
#include "host/tv_files/folder_lock.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

int list(const std::vector<BehaviourLine>& lines) {
    const auto print = [&lines](std::optional<UploadKind> kind, BackEndSetting setting) {
        const int32_t value = settingValue(lines, kind.value_or(UploadKind::Device), setting);
        printf("%s\n", formatBehaviourLine({kind, setting, value}).c_str());
    };
    print(std::nullopt, BackEndSetting::OpenFails);
    for (const UploadKind kind : kUploadKinds) {
        for (size_t i = 0; i < std::size(kBackEndSettings); ++i) {
            if (kBackEndSettings[i].perKind) print(kind, static_cast<BackEndSetting>(i));
        }
    }
    for (const StateEntry& upload : uploadState()) printf("%s\n", upload.text.c_str());
    return kDone;
}

/** Stores a setting. A setting for both kinds replaces those for one kind. */
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
        return fail("this TV has no back-end controller; create a TV with `tv init --model be`");
    const std::string folder = tvRoot() + kBackEndFolder;
    const FolderLock lock(folder);
    if (lock.error() != 0 && !words.empty()) return fail(fileError(folder, lock.error()));
    std::vector<BehaviourLine> lines;
    std::string problem;
    if (!readBehaviourLines(tvRoot(), lines, problem)) return fail(problem);
    if (words.empty()) return list(lines);
    const std::optional<BehaviourLine> line = parseBehaviourLine(android::base::Join(words, ' '), problem);
    return line ? set(lines, *line) : fail(problem, kWrongUsage);
}

}  // namespace

void addBectrl(Command app, int& status) {
    const Command command = app.addCommand("bectrl", "Show or change how the back-end controller behaves");
    command.setHelp(
        "Lists the settings and the state of the uploads if SETTING is not given. A setting takes effect\n"
        "at the next command to the controller. A setting without device or hrtf applies to both kinds of\n"
        "upload. The settings are stored in bectrl/behaviour.\n"
        "\n"
        "Settings:" +
            describeBackEndSettings(),
        {"1  the TV has no back-end controller, or bectrl/behaviour is invalid or cannot be written",
         kNeedsTv},
        {"tv bectrl", "tv bectrl rate 100000", "tv bectrl hrtf result 0xF3", "tv bectrl hang on"});
    const Option options[] = {
        command.argument("[device|hrtf]", "Kind of upload that the setting applies to (default: both)"),
        command.argument("SETTING", "Setting to change (default: list all settings)"),
        command.argument("VALUE", "Value to store (default: on, for an on/off setting)")};
    command.onRun([first = options[0], second = options[1], third = options[2], &status] {
        std::vector<std::string> words;
        for (const Option option : {first, second, third}) {
            if (const auto word = option.given()) words.push_back(*word);
        }
        status = bectrl(words);
    });
}

}  // namespace hidlaudio::host
