// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <optional>

namespace com::tovi::dtv::hardware::audio::platform {

/** Size and first bytes of a persisted file. */
struct PersistedFile {
    int64_t size;      // in bytes
    uint8_t start[4];  // first bytes; 0 beyond the end of the file
};

/**
 * Reads the size and the first bytes of a file. Neither creates nor changes the file. The caller holds its
 * lock. Returns `std::nullopt` if the file cannot be read or is not a regular file.
 */
std::optional<PersistedFile> inspectFile(const char* path);

}  // namespace com::tovi::dtv::hardware::audio::platform
