// SPDX-License-Identifier: Apache-2.0
#include "tv_state.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "eeprom_image.h"
#include "host/audio_hal/operations.h"
#include "host/middleware/config_keys.h"
#include "host/tv_files/stored_files.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFaultFolders[] = {"/soc/faults", kHalFaultFolder};
constexpr uintmax_t kFewBytes = 64;

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

std::string toHex(const std::string& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 15];
    }
    return hex;
}

}  // namespace

ConfigValue readConfigValue(const std::string& key) {
    std::string text;
    if (const int error = readValueFile(tvRoot() + "/soc/config/" + key, text); error != 0) {
        return {key, std::nullopt, strerror(error)};
    }
    const std::optional<int32_t> number = parseInt32(text);
    return {key, number, number ? "" : "no 32-bit decimal number"};
}

std::vector<ConfigValue> configValues() {
    std::vector<ConfigValue> values;
    for (const ConfigKey& key : kConfigKeys) values.push_back(readConfigValue(std::string(key.name)));
    for (const std::string& name : namesIn("/soc/config")) {
        if (findConfigKey(name) == nullptr) values.push_back(readConfigValue(name));
    }
    return values;
}

std::string describe(const ConfigValue& value) {
    return value.number ? value.key + " " + std::to_string(*value.number) : value.key + ": " + value.problem;
}

std::vector<FaultState> faultStates() {
    std::vector<FaultState> faults;
    for (const char* folder : kFaultFolders) {
        for (const std::string& name : namesIn(folder)) {
            const std::string path = tvRoot() + folder + "/" + name;
            std::string text;
            readValueFile(path, text);
            faults.push_back({name, path, parseFault(text)});
        }
    }
    return faults;
}

std::string describe(const FaultState& fault) {
    if (!fault.setting) return fault.function + " fails, because its fault file is invalid";
    std::string text = fault.function + " returns " + std::to_string(fault.setting->status);
    if (fault.setting->kind == FaultKind::Delays)
        text = fault.function + " is delayed by " + std::to_string(fault.setting->delay) + " ms";
    if (fault.setting->kind == FaultKind::Dies)
        text = fault.function + " kills the process that serves the call";
    if (fault.setting->count != 0) text += ", " + std::to_string(fault.setting->count) + " times";
    if (fault.setting->pass != 0) text += ", after " + std::to_string(fault.setting->pass) + " calls";
    return text;
}

std::vector<EepromState> eepromStates() {
    std::vector<EepromState> states;
    for (const EepromByte& known : kEepromBytes) {
        uint8_t byte = 0;
        const bool readable = readEeprom(known.address, byte) == 0;
        states.push_back({known.name, known.address, readable ? std::optional(byte) : std::nullopt});
    }
    return states;
}

std::string describe(const EepromState& state) {
    char value[32];
    snprintf(value, sizeof(value), state.byte ? " (0x%X) 0x%02X" : " (0x%X) cannot be read", state.address,
             state.byte.value_or(0));
    return state.name + value;
}

std::vector<HalParameter> halParameters() {
    std::vector<HalParameter> parameters;
    for (const std::string& key : namesIn(kHalParameterFolder)) {
        std::string value;
        readValueFile(tvRoot() + kHalParameterFolder + "/" + key, value);
        if (!value.empty() && value.back() == '\n') value.pop_back();
        parameters.push_back({key, value});
    }
    return parameters;
}

std::vector<StoredFile> storedFiles() {
    std::vector<StoredFile> files;
    for (const std::string& name : namesIn(kStoredFiles)) {
        const std::string path = kStoredFiles + ("/" + name);
        std::error_code error;
        const uintmax_t size = fs::file_size(tvRoot() + path, error);
        std::string bytes;
        if (!error && size <= kFewBytes) readValueFile(tvRoot() + path, bytes);
        files.push_back({path, error ? 0 : size, toHex(bytes)});
    }
    return files;
}

std::vector<std::string> wakeLocks() {
    std::string text;
    readValueFile(tvRoot() + "/power/wake_lock", text);
    std::istringstream stream(text);
    std::vector<std::string> names;
    for (std::string line; std::getline(stream, line);) names.push_back(line);
    return names;
}

bool isPlatformReady() {
    std::error_code error;
    return fs::exists(tvRoot() + "/data/vendor/tmp/dtv_svc_is_ready", error);
}

}  // namespace hidlaudio::host
