// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "host/tv_files/back_end_files.h"

namespace hidlaudio::host {

/**
 * The driver of the back-end audio controller, behind /dev/tovi_bectrl. Any thread.
 */

/** Whether the path is the controller's device node. */
bool isBackEndDevice(const char* path);

/** Opens the device. -1 with errno: ENOENT on a TV without a controller, EIO where it was set to fail. */
int openBackEnd(int flags);

/**
 * A command to the driver. A set command starts the transfer of the bytes that the
 * argument tells of and returns: they are read out of the program's memory as they are
 * transferred, and must stay until the state file tells that the transfer has ended. 0,
 * or -1 with errno: ENOTTY unknown command, EFAULT and EINVAL wrong argument, EBUSY a
 * transfer of that kind runs, EINVAL no transfer to cancel, EIO it was set to fail.
 */
int controlBackEnd(unsigned long request, const void* argument);

/** Makes the state idle where the process that a transfer came from has ended in the middle of it. */
void endCutOffTransfer(const std::string& root, UploadKind kind);

}  // namespace hidlaudio::host
