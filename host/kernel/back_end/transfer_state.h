// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>

#include "host/tv_files/back_end_files.h"

namespace hidlaudio::host {

/**
 * The two files that the back-end controller's driver tells the state of a transfer
 * in. They are plain files below the root, which epoll refuses to watch: for the
 * program's epoll calls an event descriptor stands in for each one that is open. It is
 * readable from a change until somebody has read the state out of a file that was
 * opened after it. Any thread.
 */

/** Of which kind the path is the state file, if it is one. */
std::optional<UploadKind> stateFileKind(const char* path);

/** Tells a new state below `root`, and everyone who waits for it. A failure is logged. */
void publishTransferState(const std::string& root, UploadKind kind, uint8_t state, uint8_t result);

/** The number of changes so far; to be taken before a state file is opened. */
uint64_t stateChanges(UploadKind kind);

/** Notes that `fd` is a state file, opened after that many changes. */
void rememberStateFile(int fd, UploadKind kind, uint64_t changes);

/** To be called before the descriptor is closed. */
void forgetStateFile(int fd);

/** Notes that the state was read out of the file. */
void noteStateRead(int fd);

/** The descriptor to watch in place of the state file, or -1 with errno where none can be had. */
int descriptorToWatch(int fd);

}  // namespace hidlaudio::host
