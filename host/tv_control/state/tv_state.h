// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace hidlaudio::host {

/** State of the TV at tvRoot(), from its files. */

/** One value of the state, as `tv show` prints it. */
struct StateEntry {
    std::string name;              // key in the JSON output
    nlohmann::ordered_json value;  // null if the value is unknown or invalid
    std::string text;              // line of the text output, such as "segment (0x10089) 0x53"
};

using StateEntries = std::vector<StateEntry>;

/** Returns a value of the configuration store: a number, or null with the reason in the text. */
StateEntry configEntry(const std::string& key);

/** Returns all keys that the daemon uses, stored or not, and then the other stored keys. */
StateEntries configState();

/** Returns the EEPROM's bytes that the daemon reads. */
StateEntries eepromState();

/** Returns the parameters of the audio HAL. */
StateEntries halState();

/** Returns the faults. The text is, for example, "MTAL_Init returns -1, 3 times, after 2 calls". */
StateEntries faultState();

/** Returns the paths of the fault files, sorted by name within each folder. */
std::vector<std::string> faultFiles();

/** Returns the files that the daemon has persisted, with the content of those of at most 64 bytes. */
StateEntries storedFileState();

/** Returns the wake locks that are held. */
StateEntries wakeLockState();

/** Returns the state of the audio decoder and the post-processor. */
StateEntries audioState();

/** Returns the back-end controller's boot state, its uploads and the commands that it has received. */
StateEntries backEndState();

/** Returns one entry per kind of upload: "device: state 0, result 0x01, 3145728 bytes received". */
StateEntries uploadState();

/**
 * Resets the back-end controller to idle, its state after power-on. Returns 0, or an errno with the path in
 * `failed`.
 */
int makeBackEndIdle(std::string& failed);

/** Returns whether the readiness marker of the TV's platform service exists. */
bool isPlatformReady();

/** Returns the content of the value file at `path` below the root, or "" if it cannot be read. */
std::string valueFileContent(const std::string& path);

/** Returns the optional's value, or null if it is empty. */
template <typename Value>
nlohmann::ordered_json orNull(const std::optional<Value>& value) {
    return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

/** Returns an entry of one number, whose text is "LABEL NUMBER" or "LABEL none". */
template <typename Number>
StateEntry numberEntry(const char* name, const char* label, const std::optional<Number>& number) {
    return {name, orNull(number), std::string(label) + " " + (number ? std::to_string(*number) : "none")};
}

}  // namespace hidlaudio::host
