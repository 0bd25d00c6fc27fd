// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace hidlaudio::host {

/** What the middleware's functions return. A person may have set any other as a fault. */
constexpr int32_t kDone = 0;
constexpr int32_t kFailed = -1;        // a file of the virtual TV is missing, unusable or damaged
constexpr int32_t kBadArgument = -2;   // the caller's mistake; logged
constexpr int32_t kNoConnection = -3;  // this process has opened no session with success

}  // namespace hidlaudio::host
