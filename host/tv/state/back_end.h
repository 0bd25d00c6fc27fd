// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include "host/tv_files/back_end_files.h"

namespace hidlaudio::host {

/** What the files of the TV at tvRoot() say of its back-end audio controller. */

struct UploadState {
    UploadKind kind;
    std::optional<uint8_t> state;  // 0 idle, 1 in progress; none: the file cannot be read
    std::optional<uint8_t> result;
    std::optional<uint64_t> received;  // the size of the last whole upload; none: there was none
};

std::vector<UploadState> uploadStates();

/** "device: state 0, result 0x01, 3145728 bytes received". */
std::string describe(const UploadState& upload);

/** The commands that the controller was given so far, a line each: type, length, payload in hex. */
std::vector<std::string> customSpecCommands();

/** What it answers to the request whether it has booted; none: it does not. */
std::optional<int32_t> bootState();

/** A TV that is switched on has an idle controller. Returns 0, or an errno with the path in `failed`. */
int makeBackEndIdle(std::string& failed);

}  // namespace hidlaudio::host
