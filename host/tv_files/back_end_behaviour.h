// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "back_end_files.h"

namespace hidlaudio::host {

/** Settings of the back-end controller's driver. A user or a test writes them to a file, one per line. */
enum class BackEndSetting { Rate, Result, State, Hang, IoctlFails, OpenFails };

/** Properties of a setting. */
struct BackEndSettingInfo {
    std::string_view name;
    int32_t smallest;
    int32_t largest;
    int32_t defaultValue;
    bool perKind;          // whether it can be set for one kind of upload only
    const char* accepted;  // accepted values, for messages and help
};

/** In the order of BackEndSetting. */
constexpr BackEndSettingInfo kBackEndSettings[] = {
    {"rate", 1, INT32_MAX, 16777216, true, "bytes per second, 1 to 2147483647"},
    {"result", 0, 255, 1, true, "result byte at the end of an upload, 0 to 0xFF"},
    {"state", 0, 255, 0, true, "state byte at the end of an upload, 0 to 0xFF"},
    {"hang", 0, 1, 0, true, "on or off: uploads do not end until they are cancelled"},
    {"ioctl_fails", 0, 1, 0, true, "on or off: commands to the driver fail"},
    {"open_fails", 0, 1, 0, false, "on or off: opening the device fails"},
};

constexpr const BackEndSettingInfo& infoOf(BackEndSetting setting) {
    return kBackEndSettings[static_cast<size_t>(setting)];
}

/** One line: "rate 1000", "hrtf result 0xF3", "hang on" or, for short, "hang". */
struct BehaviourLine {
    std::optional<UploadKind> kind;  // none: both kinds; a line for one kind overrides it
    BackEndSetting setting = BackEndSetting::Rate;
    int32_t value = 0;
};

/** Parses a line. Returns `std::nullopt` for an invalid text, with the accepted texts in `problem`. */
std::optional<BehaviourLine> parseBehaviourLine(std::string_view text, std::string& problem);

/** Returns the text of a line, as parseBehaviourLine() accepts it, without a newline. */
std::string formatBehaviourLine(const BehaviourLine& line);

/** Returns one line per setting, with its accepted values and its default. Each line begins with "\n  ". */
std::string describeBackEndSettings();

/**
 * Reads the lines of the behaviour file below `root`. If the file does not exist, there are no lines. Returns
 * false with a message in `problem` if the file cannot be read or has an invalid line.
 */
[[nodiscard]] bool readBehaviourLines(const std::string& root, std::vector<BehaviourLine>& lines,
                                      std::string& problem);

/** Returns the value of a setting for one kind of upload: that of the last line for it, or the default. */
int32_t settingValue(const std::vector<BehaviourLine>& lines, UploadKind kind, BackEndSetting setting);

}  // namespace hidlaudio::host
