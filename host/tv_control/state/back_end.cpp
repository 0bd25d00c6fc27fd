// SPDX-License-Identifier: Apache-2.0
#include <android-base/stringprintf.h>
#include <errno.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "host/tv_files/back_end_files.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "tv_state.h"

namespace hidlaudio::host {
namespace {

using android::base::StringPrintf;
using nlohmann::ordered_json;

StateEntry uploadEntry(UploadKind kind) {
    ordered_json value{{"state", nullptr}, {"result", nullptr}, {"received", nullptr}};
    std::string text = nameOf(kind) + std::string(": ");
    const std::string bytes = valueFileContent(transferStateFile(kind));
    if (bytes.size() >= 2) {
        const auto state = static_cast<uint8_t>(bytes[0]);
        const auto result = static_cast<uint8_t>(bytes[1]);
        value["state"] = state;
        value["result"] = result;
        text += StringPrintf("state %u, result 0x%02X", state, result);
    } else {
        text += "no state file";
    }
    std::error_code error;
    const uintmax_t received = std::filesystem::file_size(tvRoot() + receivedFile(kind), error);
    if (!error) {
        value["received"] = received;
        text += ", " + std::to_string(received) + " bytes received";
    }
    return {nameOf(kind), value, text};
}

/** Returns the commands that the controller has received. The text has one line per command. */
StateEntry receivedCommands() {
    StateEntry entry{"commands", ordered_json::array(), ""};
    if (!fileProblem(tvRoot(), kCustomSpecLog).empty()) return entry;
    std::ifstream file(tvRoot() + kCustomSpecLog);
    for (std::string line; std::getline(file, line);) {
        entry.value.push_back(line);
        entry.text += (entry.text.empty() ? "command " : "\ncommand ") + line;
    }
    return entry;
}

}  // namespace

StateEntries uploadState() {
    StateEntries entries;
    for (const UploadKind kind : kUploadKinds) entries.push_back(uploadEntry(kind));
    return entries;
}

StateEntries backEndState() {
    StateEntries entries = uploadState();
    entries.insert(entries.begin(),
                   numberEntry("boot_state", "boot state", parseInt32(valueFileContent(kBootStateFile))));
    entries.push_back(receivedCommands());
    return entries;
}

int makeBackEndIdle(std::string& failed) {
    for (const UploadKind kind : kUploadKinds) {
        failed = tvRoot() + incomingFile(kind);
        if (unlink(failed.c_str()) != 0 && errno != ENOENT) return errno;
        failed = tvRoot() + transferStateFile(kind);
        if (const int error = writeValueFile(failed, idleTransferState()); error != 0) return error;
    }
    return 0;
}

}  // namespace hidlaudio::host
