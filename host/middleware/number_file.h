// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string>

namespace hidlaudio::host {

/**
 * Reads the number in the file at `path` below the TV's root. Returns kDone, or kFailed after logging if the
 * file holds no such number; `value` then stays unchanged.
 */
int32_t readNumber(const std::string& path, int32_t& value);
int32_t readNumber(const std::string& path, uint32_t& value);

/** Replaces the file at `path` below the TV's root. Returns kDone, or kFailed after logging. */
int32_t storeText(const std::string& path, const std::string& content);

}  // namespace hidlaudio::host
