// SPDX-License-Identifier: Apache-2.0
#include "back_end_behaviour.h"

#include <errno.h>
#include <string.h>

#include "host/program/split_text.h"
#include "value_file.h"

namespace hidlaudio::host {
namespace {

std::optional<UploadKind> parseKind(const std::string& word) {
    for (const UploadKind kind : kUploadKinds) {
        if (word == nameOf(kind)) return kind;
    }
    return std::nullopt;
}

std::optional<BackEndSetting> parseSetting(const std::string& word) {
    for (size_t i = 0; i < std::size(kBackEndSettings); ++i) {
        if (word == kBackEndSettings[i].name) return static_cast<BackEndSetting>(i);
    }
    return std::nullopt;
}

bool isSwitch(BackEndSetting setting) {
    return infoOf(setting).largest == 1;
}

std::optional<int32_t> parseValue(BackEndSetting setting, const std::string& word) {
    if (isSwitch(setting)) {
        if (word == "on") return 1;
        return word == "off" ? std::optional(0) : std::nullopt;
    }
    const std::optional<uint32_t> value = parseHexOrDecimal(word);
    if (!value || *value > INT32_MAX) return std::nullopt;
    const auto number = static_cast<int32_t>(*value);
    const bool accepted = number >= infoOf(setting).smallest && number <= infoOf(setting).largest;
    return accepted ? std::optional(number) : std::nullopt;
}

/** Returns a value as parseValue() accepts it. */
std::string formatValue(BackEndSetting setting, int32_t value) {
    if (isSwitch(setting)) return value != 0 ? "on" : "off";
    return std::to_string(value);
}

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

}  // namespace

std::optional<BehaviourLine> parseBehaviourLine(std::string_view text, std::string& problem) {
    std::vector<std::string> words = splitWords(text);
    BehaviourLine line;
    if (!words.empty()) line.kind = parseKind(words[0]);
    if (line.kind) words.erase(words.begin());
    const std::optional<BackEndSetting> setting = words.empty() ? std::nullopt : parseSetting(words[0]);
    if (!setting || words.size() > 2) {
        problem =
            quoted(text) + ": expected [device|hrtf] SETTING VALUE. Settings:" + describeBackEndSettings();
        return std::nullopt;
    }
    line.setting = *setting;
    const std::string name(infoOf(line.setting).name);
    if (line.kind && !infoOf(line.setting).perKind) {
        problem = quoted(text) + ": " + name + " cannot be set for one kind only";
        return std::nullopt;
    }
    if (words.size() == 1 && isSwitch(line.setting)) words.emplace_back("on");
    const std::optional<int32_t> value =
        words.size() == 2 ? parseValue(line.setting, words[1]) : std::nullopt;
    if (!value) {
        problem = quoted(text) + ": " + name + " must be " + infoOf(line.setting).accepted;
        return std::nullopt;
    }
    line.value = *value;
    return line;
}

std::string describeBackEndSettings() {
    std::string text;
    for (size_t i = 0; i < std::size(kBackEndSettings); ++i) {
        const BackEndSettingInfo& info = kBackEndSettings[i];
        text += "\n  " + std::string(info.name) + "  " + info.accepted +
                " (default: " + formatValue(static_cast<BackEndSetting>(i), info.defaultValue) + ")";
    }
    return text;
}

std::string formatBehaviourLine(const BehaviourLine& line) {
    return (line.kind ? nameOf(*line.kind) + std::string(" ") : "") + std::string(infoOf(line.setting).name) +
           " " + formatValue(line.setting, line.value);
}

bool readBehaviourLines(const std::string& root, std::vector<BehaviourLine>& lines, std::string& problem) {
    const std::string path = root + kBehaviourFile;
    std::string text;
    if (const int error = readValueFile(path, text); error != 0) {
        problem = path + ": " + strerror(error);
        return error == ENOENT;
    }
    for (const std::string& words : splitLines(text)) {
        if (splitWords(words).empty()) continue;
        const std::optional<BehaviourLine> line = parseBehaviourLine(words, problem);
        if (!line) {
            problem.insert(0, path + ": ");
            return false;
        }
        lines.push_back(*line);
    }
    return true;
}

int32_t settingValue(const std::vector<BehaviourLine>& lines, UploadKind kind, BackEndSetting setting) {
    int32_t value = infoOf(setting).defaultValue;
    bool isPerKind = false;
    for (const BehaviourLine& line : lines) {
        if (line.setting != setting || line.kind.value_or(kind) != kind) continue;
        if (isPerKind && !line.kind) continue;
        value = line.value;
        isPerKind = line.kind.has_value();
    }
    return value;
}

}  // namespace hidlaudio::host
