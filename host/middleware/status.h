// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace hidlaudio::host {

/** Statuses of the middleware's functions. An injected fault may return any other number. */
constexpr int32_t kDone = 0;
constexpr int32_t kFailed = -1;        // a file of the virtual TV is missing, unusable or damaged
constexpr int32_t kBadArgument = -2;   // invalid argument or wrong order of calls; logged
constexpr int32_t kNoConnection = -3;  // no session is open in this process

}  // namespace hidlaudio::host
