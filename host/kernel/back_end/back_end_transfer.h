// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stdint.h>

#include <atomic>
#include <string>

#include "host/kernel/clock/clock_calls.h"
#include "host/tv_files/back_end_files.h"

namespace hidlaudio::host {

/** A running transfer to the back-end controller. */
struct Transfer {
    std::string root;
    UploadKind kind = UploadKind::Device;
    const char* payload = nullptr;  // memory of the caller of ioctl()
    uint64_t size = 0;
    uint64_t rate = 1;  // bytes per second
    bool hangs = false;
    uint8_t endState = 0;
    uint8_t endResult = 1;
    ClockStart start;
    android::base::unique_fd incoming;  // file that receives the payload
    android::base::unique_fd timer;
    android::base::unique_fd cancel;  // eventfd, readable after the transfer is cancelled
    std::atomic<bool> cancelled{false};
};

/**
 * Copies the payload to the incoming file in pieces, at the transfer's rate. If `hangs` is set, then waits
 * until the transfer is cancelled. Returns 0, ECANCELED, or the errno of a failed call: EFAULT if the
 * payload's memory was unmapped. Runs on the transfer's own thread.
 */
int runTransfer(const Transfer& transfer);

}  // namespace hidlaudio::host
