// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include "host/tv_files/fault_file.h"

namespace hidlaudio::host {

/** What the files of the TV at tvRoot() say, for a person and for a script. */

/** A value of the configuration store. */
struct ConfigValue {
    std::string key;
    std::optional<int32_t> number;  // none: a read of it fails
    std::string problem;            // why
};

ConfigValue readConfigValue(const std::string& key);

/** Every key that the daemon uses, stored or not, then the others that are stored. */
std::vector<ConfigValue> configValues();

/** "g_audio__tv_position 0", "g_audio__tv_position: No such file or directory". */
std::string describe(const ConfigValue& value);

/** A fault that is set on a function of the middleware or an operation of the audio HAL. */
struct FaultState {
    std::string function;
    std::string path;                     // its file
    std::optional<FaultSetting> setting;  // none: the file holds something else; the function fails
};

std::vector<FaultState> faultStates();

/** "MTAL_Init returns -1", "MTAL_Init returns -1, 3 times". */
std::string describe(const FaultState& fault);

/** A byte of the EEPROM that the daemon reads. */
struct EepromState {
    std::string name;
    uint32_t address;
    std::optional<uint8_t> byte;  // none: it cannot be read
};

std::vector<EepromState> eepromStates();

/** "segment (0x10089) 0x53". */
std::string describe(const EepromState& state);

/** A parameter that the audio HAL holds. */
struct HalParameter {
    std::string key;
    std::string value;  // empty also where its file cannot be read
};

std::vector<HalParameter> halParameters();

/** A file of the data partition. */
struct StoredFile {
    std::string path;  // as the daemon knows it
    uint64_t size;
    std::string hex;  // its bytes, if they are few
};

/** The files that the daemon has persisted, by name. */
std::vector<StoredFile> storedFiles();

/** The names of the wake locks that are held. */
std::vector<std::string> wakeLocks();

/** Whether the TV platform service has said that it is ready. */
bool isPlatformReady();

}  // namespace hidlaudio::host
