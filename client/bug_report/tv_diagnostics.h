// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace hidlaudio::client {

/** What a bug report tells of the virtual TV besides its services. */

/**
 * The TV's state as `tv show --json` prints it, the program beside this one; where that
 * does not tell it within `seconds`, {"error": ...}.
 */
nlohmann::ordered_json readTvState(double seconds);

/** The last lines of each log of the TV's programs, by the log's name. */
nlohmann::ordered_json readEndsOfLogs();

}  // namespace hidlaudio::client
