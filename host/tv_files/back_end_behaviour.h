// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "back_end_files.h"

namespace hidlaudio::host {

/** How the back-end controller's driver behaves; a person or a test writes it to a file, a line a setting. */
enum class BackEndSetting { Rate, Result, State, Hang, IoctlFails, OpenFails };

/** What there is to know about a setting. */
struct BackEndSettingInfo {
    std::string_view name;
    int32_t smallest;
    int32_t largest;
    int32_t usual;         // where nothing is set
    bool perKind;          // whether it can be set for one kind of upload
    const char* accepted;  // in words
};

/** In the order of BackEndSetting. */
constexpr BackEndSettingInfo kBackEndSettings[] = {
    {"rate", 1, INT32_MAX, 16777216, true, "bytes per second, 1 to 2147483647"},
    {"result", 0, 255, 1, true, "the result byte that ends an upload, 0 to 0xFF"},
    {"state", 0, 255, 0, true, "the state byte that ends an upload, 0 to 0xFF"},
    {"hang", 0, 1, 0, true, "on or off: an upload does not end until it is cancelled"},
    {"ioctl_fails", 0, 1, 0, true, "on or off: each command to the driver fails"},
    {"open_fails", 0, 1, 0, false, "on or off: the device cannot be opened"},
};

constexpr const BackEndSettingInfo& infoOf(BackEndSetting setting) {
    return kBackEndSettings[static_cast<size_t>(setting)];
}

/** One line: "rate 1000", "hrtf result 0xF3", "hang on" or just "hang". */
struct BehaviourLine {
    std::optional<UploadKind> kind;  // none: both, but for a kind that has a line of its own
    BackEndSetting setting = BackEndSetting::Rate;
    int32_t value = 0;
};

/** Nothing for any other text; `problem` then says what is accepted. */
std::optional<BehaviourLine> parseBehaviourLine(std::string_view text, std::string& problem);

/** The reverse of parseBehaviourLine, without a newline. */
std::string formatBehaviourLine(const BehaviourLine& line);

/** "on", "1000": a setting's value as parseBehaviourLine takes it. */
std::string formatValue(BackEndSetting setting, int32_t value);

/**
 * Reads the lines of the behaviour file below `root`, none where there is no such
 * file. False with `problem` where it cannot be read or has a wrong line.
 */
[[nodiscard]] bool readBehaviourLines(const std::string& root, std::vector<BehaviourLine>& lines,
                                      std::string& problem);

/** The value of each setting for each kind. */
class BackEndBehaviour {
  public:
    explicit BackEndBehaviour(const std::vector<BehaviourLine>& lines);

    int32_t value(UploadKind kind, BackEndSetting setting) const {
        return values_[indexOf(kind)][static_cast<size_t>(setting)];
    }

  private:
    std::array<std::array<int32_t, std::size(kBackEndSettings)>, std::size(kUploadKinds)> values_{};
};

}  // namespace hidlaudio::host
