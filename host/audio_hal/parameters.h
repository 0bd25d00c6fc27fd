// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace hidlaudio::host {

/**
 * The parameters of the primary audio HAL: a value file each, so that a person can
 * look at them and change them while the HAL runs. A key is a name for a value file.
 */

/** The longest value that is kept, in bytes. */
extern const size_t kLongestParameter;

/** Keeps a value. Returns 0, or an errno; the old one is then untouched. `key` must be one. */
int writeParameter(const std::string& key, const std::string& value);

/**
 * Reads a value: the file without the line end that it closes with, if it does.
 * Nothing where there is none, nor for what is no key. Returns 0, or an errno where
 * the file is there and cannot be read.
 */
int readParameter(const std::string& key, std::optional<std::string>& value);

}  // namespace hidlaudio::host
