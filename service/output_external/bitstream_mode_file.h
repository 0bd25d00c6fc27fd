// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <optional>

namespace com::tovi::dtv::hardware::audio::output_external {

/**
 * The file that keeps the bitstream output mode over a restart: four bytes in the
 * machine's order, or none while no client has ever set the mode. One call at a time.
 */

/** Where it lies. Its folder is there already; this makes the file only. */
constexpr char kBitstreamModeFile[] = "/data/vendor/tovi/hidlaudio/bitstream_output_mode.data";

/**
 * Reads the mode, and makes the file where there is none. `mode` is empty where the
 * file is, and where it can't be read. Bytes that a short file lacks count as 0.
 *
 * @return 0, or the errno of why the file can't be opened
 */
int loadBitstreamMode(std::optional<int32_t>& mode);

/**
 * Writes the mode over the one before. The file must be there: only a start makes it.
 *
 * @param written what the write returned: the number of bytes, or -1
 * @return 0, or the errno of why the file can't be opened
 */
int storeBitstreamMode(int32_t mode, ssize_t& written);

}  // namespace com::tovi::dtv::hardware::audio::output_external
