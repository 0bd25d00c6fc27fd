// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <optional>
#include <string>

#include "host/middleware/config_keys.h"
#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv_control/state/tv_folder.h"
#include "host/tv_control/state/tv_state.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

int list() {
    for (const StateEntry& entry : configState()) printf("%s\n", entry.text.c_str());
    return kDone;
}

int print(const std::string& key) {
    const StateEntry entry = configEntry(key);
    if (entry.value.is_null()) return fail(entry.text);
    printf("%s\n", entry.value.dump().c_str());
    return kDone;
}

int write(const std::string& key, const std::string& text) {
    const std::optional<int32_t> number = parseInt32(text);
    if (!number) return fail("\"" + text + "\" is not a 32-bit decimal number", kWrongUsage);
    const std::string path = tvRoot() + "/soc/config/" + key;
    if (const int error = writeValueFile(path, std::to_string(*number) + "\n"); error != 0) {
        return fail(fileError(path, error));
    }
    if (findConfigKey(key) == nullptr) note(key + " is stored, but the daemon does not use this key");
    return kDone;
}

int config(const std::optional<std::string>& key, const std::optional<std::string>& value) {
    if (!openTv()) return kWrongUsage;
    if (!key) return list();
    if (!isValueName(*key)) return fail("\"" + *key + "\" is not a valid key", kWrongUsage);
    return value ? write(*key, *value) : print(*key);
}

}  // namespace

void addConfig(Command app, int& status) {
    const Command command =
        app.addCommand("config", "List, read or write the configuration store of the middleware");
    command.setHelp(
        "Lists all values if KEY is not given. The store is the folder soc/config with one file per key.\n"
        "The daemon reads a key at each request, so a change takes effect at once. To make a read fail,\n"
        "delete the file of the key.",
        {"1  the value of KEY cannot be read or written, or is not a 32-bit number", kNeedsTv},
        {"tv config", "tv config g_audio__tv_position", "tv config g_audio__tv_position 1"});
    const Option key = command.argument("KEY", "Key to read or write (default: list all keys)");
    const Option value = command.argument("VALUE",
                                          "Number to store, -2147483648 to 2147483647\n"
                                          "(default: print the stored number)");
    command.onRun([key, value, &status] { status = config(key.given(), value.given()); });
}

}  // namespace hidlaudio::host
