// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::client {

/** Exit statuses of `audioctl`. They are part of its interface: `tv_stress` evaluates them as well. */
enum ExitStatus {
    kDone = 0,
    kRefused = 1,     // the service returned an error, the call failed, or output could not be written
    kWrongUsage = 2,  // invalid argument or input file, or no TV
    kNoService = 3,   // the service is not registered, or ended during the call
    kTimedOut = 4,
};

}  // namespace hidlaudio::client
