// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include "host/tv_files/back_end_files.h"

namespace hidlaudio::host {

/** State of the back-end audio controller, from the files of the TV at tvRoot(). */

struct UploadState {
    UploadKind kind;
    std::optional<uint8_t> state;  // 0 idle, 1 in progress; `nullopt` if the file cannot be read
    std::optional<uint8_t> result;
    std::optional<uint64_t> received;  // size of the last complete upload in bytes, if there was one
};

std::vector<UploadState> uploadStates();

/** Returns a text such as "device: state 0, result 0x01, 3145728 bytes received". */
std::string describe(const UploadState& upload);

/** Returns the commands that the controller has received, one line each: type, length, payload in hex. */
std::vector<std::string> customSpecCommands();

/** Returns the controller's answer to the boot state query, or `std::nullopt` if the query fails. */
std::optional<int32_t> bootState();

/**
 * Resets the controller to idle, its state after power-on. Returns 0, or an errno with the path in `failed`.
 */
int makeBackEndIdle(std::string& failed);

}  // namespace hidlaudio::host
