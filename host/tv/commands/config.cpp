// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <optional>
#include <string>

#include "host/middleware/config_keys.h"
#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv/state/tv_folder.h"
#include "host/tv/state/tv_state.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

int list() {
    for (const ConfigValue& value : configValues()) printf("%s\n", describe(value).c_str());
    return kDone;
}

int print(const std::string& key) {
    const ConfigValue value = readConfigValue(key);
    if (!value.number) return fail(describe(value));
    printf("%d\n", *value.number);
    return kDone;
}

int write(const std::string& key, const std::string& text) {
    const std::optional<int32_t> number = parseInt32(text);
    if (!number) return fail("\"" + text + "\" is no 32-bit decimal number", kWrongUsage);
    const std::string path = tvRoot() + "/soc/config/" + key;
    if (const int error = writeValueFile(path, std::to_string(*number) + "\n"); error != 0) {
        return fail(fileError(path, error));
    }
    if (findConfigKey(key) == nullptr) note(key + " is stored, but no key that the daemon uses");
    return kDone;
}

int config(const std::optional<std::string>& key, const std::optional<std::string>& value) {
    if (!openTv()) return kWrongUsage;
    if (!key) return list();
    if (!isValueName(*key)) return fail("\"" + *key + "\" cannot be a key", kWrongUsage);
    return value ? write(*key, *value) : print(*key);
}

}  // namespace

void addConfig(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("config", "List, read or write the middleware's configuration store");
    command->footer(
        "Without KEY all values are listed. The store is the folder soc/config, one file a key; the daemon\n"
        "reads it at each request, so that a change takes effect at once. Remove a file, and reading the\n"
        "key fails.");
    const CLI::Option* key = addText(command, "KEY", "The value's name, such as g_audio__tv_position");
    const CLI::Option* value = addText(command, "VALUE", "The number to store, -2147483648 to 2147483647");
    command->callback([key, value, &status] { status = config(given(key), given(value)); });
}

}  // namespace hidlaudio::host
