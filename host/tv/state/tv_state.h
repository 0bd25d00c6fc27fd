// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include "host/tv_files/fault_file.h"

namespace hidlaudio::host {

/** State of the TV at tvRoot(), from its files. Each describe() returns one line of `tv show`. */

/** A value of the configuration store. */
struct ConfigValue {
    std::string key;
    std::optional<int32_t> number;  // `nullopt` if a read fails
    std::string problem;            // why the read fails
};

ConfigValue readConfigValue(const std::string& key);

/** Returns all keys that the daemon uses, stored or not, and then the other stored keys. */
std::vector<ConfigValue> configValues();

/** Example: "g_audio__tv_position 0" or "g_audio__tv_position: No such file or directory". */
std::string describe(const ConfigValue& value);

/** A fault on a function of the middleware, libpower or the audio HAL. */
struct FaultState {
    std::string function;
    std::string path;                     // the fault file
    std::optional<FaultSetting> setting;  // `nullopt` if the file is invalid; the function then fails
};

std::vector<FaultState> faultStates();

/** Example: "MTAL_Init returns -1, 3 times, after 2 calls". */
std::string describe(const FaultState& fault);

/** A byte of the EEPROM that the daemon reads. */
struct EepromState {
    std::string name;
    uint32_t address;
    std::optional<uint8_t> byte;  // `nullopt` if it cannot be read
};

std::vector<EepromState> eepromStates();

/** Example: "segment (0x10089) 0x53". */
std::string describe(const EepromState& state);

/** A parameter of the audio HAL. */
struct HalParameter {
    std::string key;
    std::string value;  // also empty if its file cannot be read
};

std::vector<HalParameter> halParameters();

/** A file of the data partition. */
struct StoredFile {
    std::string path;  // as used by the daemon, i.e. below the TV's root
    uint64_t size;
    std::string hex;  // content, if it has at most 64 bytes
};

/** Returns the files that the daemon has persisted, sorted by name. */
std::vector<StoredFile> storedFiles();

/** Returns the names of the wake locks that are held. */
std::vector<std::string> wakeLocks();

/** Returns whether the readiness marker of the TV's platform service exists. */
bool isPlatformReady();

}  // namespace hidlaudio::host
