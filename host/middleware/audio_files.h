// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string>

namespace hidlaudio::host {

/**
 * Reads the unsigned number in the file at `path` below the TV's root. Returns kDone, or kFailed after
 * logging if the file holds no such number; `value` then stays unchanged.
 */
int32_t readReport(const std::string& path, uint32_t& value);

/** Replaces the file at `path` below the TV's root. Returns kDone, or kFailed after logging. */
int32_t storeGiven(const std::string& path, const std::string& content);

}  // namespace hidlaudio::host
