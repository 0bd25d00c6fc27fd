// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "host/tv_files/back_end_files.h"

namespace hidlaudio::host {

/**
 * The driver of the back-end audio controller, which serves /dev/tovi_bectrl. All functions may be called
 * from any thread.
 */

/**
 * Opens the device. Returns a descriptor, or -1 with errno: ENOENT if the TV has no controller, EINVAL if
 * the behaviour file is unusable, EIO if the behaviour file makes opening fail.
 */
int openBackEnd(int flags);

/**
 * Executes a command. A set command starts a transfer and returns at once. The payload that its argument
 * points to is read while the transfer runs: the caller must keep it until the state file reports the end.
 *
 * Returns 0, or -1 with errno:
 * - ENOTTY: unknown command
 * - EFAULT: bad address in the argument
 * - EINVAL: wrong argument, no transfer to cancel, or an unusable behaviour file
 * - EBUSY: a transfer of this kind is running
 * - EIO: the behaviour file makes commands fail
 * - another error of creating the transfer's files, descriptors or thread
 */
int controlBackEnd(unsigned long request, const void* argument);

/** Resets the state of `kind` to idle if the process that started its transfer died before the end. */
void endCutOffTransfer(const std::string& root, UploadKind kind);

}  // namespace hidlaudio::host
