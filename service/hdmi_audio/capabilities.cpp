// SPDX-License-Identifier: Apache-2.0
#include "capabilities.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

#include "log_tag.h"
#include "platform/config_store.h"
#include "platform/log.h"

namespace com::tovi::dtv::hardware::audio::hdmi_audio {
namespace {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using platform::ConfigKey;
using platform::logDebug;
using platform::logError;
using platform::WritableConfigKey;

constexpr char kNone[] = "NONE";
constexpr int32_t kNoLevel = -1;

/** The names of a group's levels. The index is the value in the store; null if the value has no name. */
using Names = std::array<const char*, 4>;

constexpr Names kArcDdCapabilities{"ARC_DD_NONE", "ARC_DD_PLUS", "ARC_DD_ATMOS"};
constexpr Names kEarcDdCapabilities{"EARC_DD_NONE", "EARC_DD_PLUS", "EARC_DD_ATMOS"};
constexpr Names kArcMp4Capabilities{"ARC_MP4AAC_NONE", "ARC_MP4AAC_5_1", "ARC_MP4AAC_7_1", "ARC_MP4AAC_22_2"};

struct Group {
    const Names& names;
    const ConfigKey& key;
    const char* getter;                   // name in the log messages of a read
    const WritableConfigKey* settingKey;  // null if the level cannot be set
    const char* setter;                   // name in the log messages of a write
    std::string_view prefix;              // of the entries that set the level
    const char* stateName;                // name in the state dump
};

/** The groups in the order of getAudioCapabilities(). */
constexpr Group kGroups[] = {
    {kArcDdCapabilities, platform::kArcDdCapability, "getArcDdCapability", &platform::kArcDdCapability,
     "setArcDdCapability", "ARC_DD_", "arc_dd_key"},
    {kEarcDdCapabilities,
     platform::kEarcDdCapability,
     "getEarcDdCapability",
     nullptr,
     nullptr,
     {},
     "earc_dd_key"},
    {kArcMp4Capabilities, platform::kArcMp4Capability, "getArcMp4Capability", &platform::kArcMp4Capability,
     "setArcMp4Capability", "ARC_MP4AAC_", "arc_mp4aac_key"},
};

const char* nameOf(const Names& names, int32_t level) {
    const bool inTable = level >= 0 && level < static_cast<int32_t>(names.size());
    return inTable ? names[static_cast<size_t>(level)] : nullptr;
}

int32_t levelOf(const Names& names, const std::string& entry) {
    const auto found = std::find_if(names.begin(), names.end(),
                                    [&](const char* name) { return name != nullptr && entry == name; });
    return found != names.end() ? static_cast<int32_t>(found - names.begin()) : kNoLevel;
}

const char* read(const Group& group) {
    int32_t level = kNoLevel;
    if (const int32_t status = platform::readConfig(group.key, level); status != 0) {
        logError(kLogTag, "%s, MTKTVAPI failed:ret = %d\n", group.getter, status);
        return kNone;
    }
    const char* name = nameOf(group.names, level);
    if (name == nullptr) {
        logError(kLogTag, "%s, invalid value = %d\n", group.getter, level);
        return kNone;
    }
    logDebug(kLogTag, "%s, caps = %s\n", group.getter, name);
    return name;
}

int32_t highestLevel(const Group& group, const std::vector<std::string>& request) {
    int32_t level = kNoLevel;
    for (const std::string& entry : request) {
        if (entry.empty()) continue;
        logDebug(kLogTag, "%s, capas : %s\n", group.setter, entry.c_str());
        level = std::max(level, levelOf(group.names, entry));
    }
    return level;
}

int32_t write(const Group& group, const std::vector<std::string>& request) {
    logDebug(kLogTag, "%s, capas list length: %d\n", group.setter, static_cast<int>(request.size()));
    const int32_t level = highestLevel(group, request);
    if (level == kNoLevel) return -1;
    logDebug(kLogTag, "%s, call set API capas : %d\n", group.setter, level);
    return platform::writeConfig(*group.settingKey, level);
}

}  // namespace

hidl_vec<hidl_string> readCapabilities() {
    hidl_vec<hidl_string> capabilities;
    capabilities.resize(std::size(kGroups));
    // A loop with an index: the order of the reads determines the order of the log messages.
    for (size_t i = 0; i < capabilities.size(); ++i) capabilities[i] = read(kGroups[i]);
    return capabilities;
}

std::optional<int32_t> writeCapability(const std::string& entry, const std::vector<std::string>& request) {
    for (const Group& group : kGroups) {
        if (group.settingKey == nullptr || entry.compare(0, group.prefix.size(), group.prefix) != 0) continue;
        return write(group, request);
    }
    return std::nullopt;
}

std::vector<platform::StateItem> describeCapabilityKeys() {
    std::vector<platform::StateItem> items;
    items.reserve(std::size(kGroups));
    for (const Group& group : kGroups) items.push_back(platform::text(group.stateName, group.key.name));
    return items;
}

}  // namespace com::tovi::dtv::hardware::audio::hdmi_audio
