// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace hidlaudio::host {

/**
 * The parameters of the primary audio HAL. Each is a value file, so that a user can read and change it while
 * the HAL runs. The key is the name of the file.
 */

/** Maximum size of a value, in bytes. */
extern const size_t kLongestParameter;

/**
 * Stores a value. Returns 0, or an errno; the old value then stays unchanged. `key` must be a valid name of a
 * value file (isValueName()).
 */
int writeParameter(const std::string& key, const std::string& value);

/**
 * Reads a value: the file's content without the newline at its end. `value` becomes `std::nullopt` if the
 * file does not exist or `key` is not a valid name. Returns 0, or an errno if the file exists but cannot be
 * read.
 */
int readParameter(const std::string& key, std::optional<std::string>& value);

}  // namespace hidlaudio::host
