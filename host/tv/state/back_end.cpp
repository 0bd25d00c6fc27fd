// SPDX-License-Identifier: Apache-2.0
#include "back_end.h"

#include <errno.h>
#include <stdio.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {

std::vector<UploadState> uploadStates() {
    std::vector<UploadState> uploads;
    for (const UploadKind kind : kUploadKinds) {
        UploadState upload{kind, {}, {}, {}};
        std::string bytes;
        readValueFile(tvRoot() + transferStateFile(kind), bytes);
        if (bytes.size() >= 2) {
            upload.state = static_cast<uint8_t>(bytes[0]);
            upload.result = static_cast<uint8_t>(bytes[1]);
        }
        std::error_code error;
        const uintmax_t size = std::filesystem::file_size(tvRoot() + receivedFile(kind), error);
        if (!error) upload.received = size;
        uploads.push_back(upload);
    }
    return uploads;
}

std::string describe(const UploadState& upload) {
    std::string text = std::string(nameOf(upload.kind)) + ": ";
    if (upload.state && upload.result) {
        char result[8];
        snprintf(result, sizeof(result), "0x%02X", *upload.result);
        text += "state " + std::to_string(*upload.state) + ", result " + result;
    } else {
        text += "no state file";
    }
    return text + (upload.received ? ", " + std::to_string(*upload.received) + " bytes received" : "");
}

std::vector<std::string> customSpecCommands() {
    std::vector<std::string> lines;
    if (!fileProblem(tvRoot(), kCustomSpecLog).empty()) return lines;
    std::ifstream file(tvRoot() + kCustomSpecLog);
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

std::optional<int32_t> bootState() {
    std::string text;
    if (readValueFile(tvRoot() + kBootStateFile, text) != 0) return std::nullopt;
    return parseInt32(text);
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
