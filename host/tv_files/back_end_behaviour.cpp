// SPDX-License-Identifier: Apache-2.0
#include "back_end_behaviour.h"

#include <errno.h>
#include <string.h>

#include <charconv>

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

std::optional<int32_t> parseNumber(std::string_view word) {
    const bool hex = word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X');
    if (hex) word.remove_prefix(2);
    int32_t value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, hex ? 16 : 10);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
    return value;
}

std::optional<int32_t> parseValue(BackEndSetting setting, const std::string& word) {
    if (isSwitch(setting)) {
        if (word == "on") return 1;
        return word == "off" ? std::optional(0) : std::nullopt;
    }
    const std::optional<int32_t> value = parseNumber(word);
    const bool accepted = value && *value >= infoOf(setting).smallest && *value <= infoOf(setting).largest;
    return accepted ? value : std::nullopt;
}

std::string allSettings() {
    std::string text = "expected [device|hrtf] SETTING VALUE. Settings:";
    for (const BackEndSettingInfo& info : kBackEndSettings) {
        text += "\n  " + std::string(info.name) + "  " + info.accepted;
    }
    return text;
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
        problem = quoted(text) + ": " + allSettings();
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

std::string formatValue(BackEndSetting setting, int32_t value) {
    if (isSwitch(setting)) return value != 0 ? "on" : "off";
    return std::to_string(value);
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

BackEndBehaviour::BackEndBehaviour(const std::vector<BehaviourLine>& lines) {
    for (auto& values : values_) {
        for (size_t i = 0; i < values.size(); ++i) values[i] = kBackEndSettings[i].usual;
    }
    for (const bool perKind : {false, true}) {
        for (const BehaviourLine& line : lines) {
            if (line.kind.has_value() != perKind) continue;
            for (const UploadKind kind : kUploadKinds) {
                if (line.kind.value_or(kind) == kind) {
                    values_[indexOf(kind)][static_cast<size_t>(line.setting)] = line.value;
                }
            }
        }
    }
}

}  // namespace hidlaudio::host
