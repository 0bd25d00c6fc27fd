// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <optional>

namespace com::tovi::dtv::hardware::audio::platform {

/** A persisted file as it lies there. */
struct PersistedFile {
    int64_t size;      // in bytes
    uint8_t start[4];  // its first bytes; those that it lacks are 0
};

/**
 * Looks at a file and neither makes nor changes it. Nothing where there is none that
 * can be read. One call at a time with those who write the file.
 */
std::optional<PersistedFile> inspectFile(const char* path);

}  // namespace com::tovi::dtv::hardware::audio::platform
