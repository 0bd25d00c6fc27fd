// SPDX-License-Identifier: Apache-2.0
#include "tv_state.h"

#include <android-base/stringprintf.h>
#include <string.h>

#include <algorithm>
#include <filesystem>

#include "eeprom_image.h"
#include "host/audio_hal/operations.h"
#include "host/kernel/faults/calls.h"
#include "host/middleware/config_keys.h"
#include "host/program/hex.h"
#include "host/program/split_text.h"
#include "host/tv_files/fault_file.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using android::base::StringPrintf;
using nlohmann::ordered_json;

constexpr uintmax_t kMaxShownBytes = 64;

/** Returns the sorted names of the files in a folder below the root. Skips temporary files (.NAME). */
std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(tvRoot() + folder, error)) {
        const std::string name = entry.path().filename();
        if (name.front() != '.' && entry.is_regular_file(error)) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

/** Returns the effect of a fault as JSON and as text, without its counts. */
std::pair<ordered_json, std::string> effectOf(const FaultSetting& fault) {
    switch (fault.kind) {
        case FaultKind::Delays:
            return {{{"delay", fault.delay}}, " is delayed by " + std::to_string(fault.delay) + " ms"};
        case FaultKind::Dies:
            return {{{"dies", true}}, " kills the process that serves the call"};
        case FaultKind::Fails:
            return {{{"errno", errnoName(fault.status)}}, " fails with " + errnoName(fault.status)};
        case FaultKind::Shortens:
            return {{{"short", fault.bytes}}, " transfers at most " + std::to_string(fault.bytes) + " bytes"};
        case FaultKind::Returns:
            break;
    }
    return {{{"status", fault.status}}, " returns " + std::to_string(fault.status)};
}

StateEntry faultEntry(const std::string& path) {
    const std::string function = fs::path(path).filename();
    const bool isCall = fs::path(path).parent_path() == tvRoot() + kCallFaultFolder;
    std::string content;
    readValueFile(path, content);
    const std::optional<FaultSetting> fault = isCall ? parseCallFault(content) : parseFault(content);
    if (!fault) return {function, nullptr, function + " fails, because its fault file is invalid"};
    auto [value, effect] = effectOf(*fault);
    std::string text = function + effect;
    if (fault->count != 0) {
        value["count"] = fault->count;
        text += ", " + std::to_string(fault->count) + " times";
    }
    if (fault->pass != 0) {
        value["pass"] = fault->pass;
        text += ", after " + std::to_string(fault->pass) + " calls";
    }
    return {function, value, text};
}

}  // namespace

std::string valueFileContent(const std::string& path) {
    std::string content;
    readValueFile(tvRoot() + path, content);
    return content;
}

StateEntry configEntry(const std::string& key) {
    std::string text;
    if (const int error = readValueFile(tvRoot() + "/soc/config/" + key, text); error != 0)
        return {key, nullptr, key + ": " + strerror(error)};
    const std::optional<int32_t> number = parseInt32(text);
    if (!number) return {key, nullptr, key + ": no 32-bit decimal number"};
    return {key, *number, key + " " + std::to_string(*number)};
}

StateEntries configState() {
    StateEntries entries;
    for (const ConfigKey& key : kConfigKeys) entries.push_back(configEntry(std::string(key.name)));
    for (const std::string& name : namesIn("/soc/config")) {
        if (findConfigKey(name) == nullptr) entries.push_back(configEntry(name));
    }
    return entries;
}

StateEntries eepromState() {
    StateEntries entries;
    for (const EepromByte& known : kEepromBytes) {
        const std::string name = StringPrintf("%s (0x%X) ", known.name, known.address);
        uint8_t byte = 0;
        if (readEeprom(known.address, byte) == 0) {
            entries.push_back({known.name, byte, name + StringPrintf("0x%02X", byte)});
        } else {
            entries.push_back({known.name, nullptr, name + "cannot be read"});
        }
    }
    return entries;
}

StateEntries halState() {
    StateEntries entries;
    for (const std::string& key : namesIn(kHalParameterFolder)) {
        std::string value = valueFileContent(kHalParameterFolder + ("/" + key));
        if (!value.empty() && value.back() == '\n') value.pop_back();
        entries.push_back({key, value, key + " " + value});
    }
    return entries;
}

std::vector<std::string> faultFiles() {
    std::vector<std::string> paths;
    for (const std::string folder : {"/soc/faults", kHalFaultFolder, kCallFaultFolder}) {
        for (const std::string& name : namesIn(folder)) paths.push_back(tvRoot() + folder + "/" + name);
    }
    return paths;
}

StateEntries faultState() {
    StateEntries entries;
    for (const std::string& path : faultFiles()) entries.push_back(faultEntry(path));
    return entries;
}

StateEntries storedFileState() {
    StateEntries entries;
    for (const std::string& name : namesIn(kStoredFiles)) {
        const std::string path = kStoredFiles + ("/" + name);
        std::error_code error;
        const uintmax_t size = fs::file_size(tvRoot() + path, error);
        const std::string content = !error && size <= kMaxShownBytes ? valueFileContent(path) : "";
        ordered_json value{{"size", error ? 0 : size}};
        if (!content.empty()) value["hex"] = toHex(content);
        const std::string bytes = value["size"].dump() + " bytes " + toHex(content);
        entries.push_back({path, value, path + " " + bytes});
    }
    return entries;
}

StateEntries wakeLockState() {
    StateEntries entries;
    for (const std::string& name : splitLines(valueFileContent("/power/wake_lock")))
        entries.push_back({name, name, name});
    return entries;
}

bool isPlatformReady() {
    std::error_code error;
    return fs::exists(tvRoot() + "/data/vendor/tmp/dtv_svc_is_ready", error);
}

}  // namespace hidlaudio::host
