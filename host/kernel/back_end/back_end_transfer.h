// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <atomic>
#include <string>

#include "host/kernel/clock/clock_calls.h"
#include "host/program/owned_descriptor.h"
#include "host/tv_files/back_end_files.h"

namespace hidlaudio::host {

/** A transfer to the back-end controller, from its command to its end. */
struct Transfer {
    std::string root;
    UploadKind kind = UploadKind::Device;
    const char* payload = nullptr;  // in the program's memory
    uint64_t size = 0;
    uint64_t rate = 1;  // bytes a second
    bool hangs = false;
    uint8_t endState = 0;
    uint8_t endResult = 1;
    ClockStart start;
    OwnedDescriptor incoming;  // the file that the bytes go to
    OwnedDescriptor timer;
    OwnedDescriptor cancel;  // an event, readable once the transfer is cancelled
    std::atomic<bool> cancelled{false};
};

/**
 * Moves the payload to the incoming file, at the transfer's rate and piece by piece;
 * a transfer that hangs stays until it is cancelled. Returns 0, ECANCELED, or what
 * stopped it: EFAULT for memory that is not there. On the transfer's own thread.
 */
int runTransfer(Transfer& transfer);

}  // namespace hidlaudio::host
