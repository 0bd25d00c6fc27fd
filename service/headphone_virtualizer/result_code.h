// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/** Results of the methods. */
enum ResultCode : int32_t {
    kSuccess = 0,
    kHandleNotFound = -1,
    kSizeError = -2,
    kBusy = -3,
    kNotCancelled = -4,
    kNotSupported = -5,  // also for other failures
};

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
