// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace hidlaudio::client {

/** The parts of a bug report that describe the virtual TV without its services. */

/**
 * Returns the output of `tv show --json`, run from the folder of this program, or {"error": ...} if it fails
 * or takes longer than `seconds`.
 */
nlohmann::ordered_json readTvState(double seconds);

/**
 * Returns the last 200 lines (at most 64 KiB) of each log of the TV, by file name, or {"error": ...} if the
 * folder cannot be read.
 */
nlohmann::ordered_json readEndsOfLogs();

}  // namespace hidlaudio::client
