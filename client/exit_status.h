// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::client {

/** Exit statuses of `audioctl`. */
enum ExitStatus {
    kDone = 0,
    kRefused = 1,     // the service answered with an error, the call failed, or output cannot be written
    kWrongUsage = 2,  // a wrong argument, a bad input file, or no TV
    kNoService = 3,   // the service is not registered, or ended during the call
    kTimedOut = 4,
};

}  // namespace hidlaudio::client
