// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <optional>

namespace com::tovi::dtv::hardware::audio::output_external {

/**
 * The file that keeps the bitstream output mode over a restart: four bytes in the byte order of the
 * processor, or none if no client has set the mode yet. One call at a time.
 */

/** Path of the file. The init script creates its folder. */
constexpr char kBitstreamModeFile[] = "/data/vendor/tovi/hidlaudio/bitstream_output_mode.data";

/**
 * Reads the mode, and creates the file if it does not exist. `mode` is `std::nullopt` if the file is empty
 * or cannot be read. If the file is shorter than four bytes, the missing bytes count as 0.
 *
 * @return 0, or the errno of open()
 */
int loadBitstreamMode(std::optional<int32_t>& mode);

/**
 * Overwrites the mode. The file must exist: only loadBitstreamMode() creates it.
 *
 * @param written result of write(): the number of bytes, or -1. Not changed if open() fails
 * @return 0, or the errno of open()
 */
int storeBitstreamMode(int32_t mode, ssize_t& written);

}  // namespace com::tovi::dtv::hardware::audio::output_external
