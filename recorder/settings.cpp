// SPDX-License-Identifier: Apache-2.0
#include "settings.h"

#include <stdlib.h>
#include <sys/system_properties.h>

#include <tuple>

namespace hidlaudio::recorder {
namespace {

constexpr char kProgram[] = "hidlaudio";
constexpr char kFile[] = "/data/vendor/tovi/hidlaudio/record.jsonl";
constexpr int64_t kLimit = 256;
constexpr int64_t kLargestLimit = 1 << 20;
constexpr int64_t kMebibyte = 1 << 20;

std::string property(const char* name, const std::string& otherwise) {
    std::string value;
    const prop_info* info = __system_property_find(name);
    if (info == nullptr) return otherwise;
    __system_property_read_callback(
        info,
        [](void* cookie, const char*, const char* text, uint32_t) {
            *static_cast<std::string*>(cookie) = text;
        },
        &value);
    return value.empty() ? otherwise : value;
}

bool isTrue(const char* name) {
    const std::string value = property(name, "");
    return value == "true" || value == "1";
}

/** Returns the value of a property that is a number from 1 to `most`, or `otherwise`. */
int64_t number(const char* name, int64_t most, int64_t otherwise) {
    const long long value = strtoll(property(name, "").c_str(), nullptr, 10);
    return value > 0 && value <= most ? value : otherwise;
}

auto members(const Settings& settings) {
    return std::tie(settings.isEnabled, settings.program, settings.file, settings.keepsBytes,
                    settings.controller, settings.sizeLimit);
}

}  // namespace

bool operator==(const Settings& left, const Settings& right) {
    return members(left) == members(right);
}

Settings readSettings() {
    Settings settings;
    settings.isEnabled = isTrue(kEnableProperty);
    if (!settings.isEnabled) return settings;
    settings.program = property(kProgramProperty, kProgram);
    settings.file = property(kFileProperty, kFile);
    settings.keepsBytes = isTrue(kBytesProperty);
    settings.controller = static_cast<pid_t>(number(kControllerProperty, INT32_MAX, 0));
    settings.sizeLimit = number(kLimitProperty, kLargestLimit, kLimit) * kMebibyte;
    return settings;
}

}  // namespace hidlaudio::recorder
