// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string>

namespace hidlaudio::host {

/**
 * Reads what a part of the TV reports: the unsigned number in the file at `path` below
 * the TV's root. kDone, or kFailed, logged, where there is no such number: `value` is
 * then unchanged.
 */
int32_t readReport(const std::string& path, uint32_t& value);

/** Replaces what a part of the TV was given, below the TV's root. kDone, or kFailed, logged. */
int32_t storeGiven(const std::string& path, const std::string& content);

}  // namespace hidlaudio::host
