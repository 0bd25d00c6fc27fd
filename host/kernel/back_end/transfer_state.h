// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>

#include "host/tv_files/back_end_files.h"

namespace hidlaudio::host {

/**
 * The two files in which the back-end controller's driver publishes the state of transfers. They are
 * regular files below the TV's root, which epoll cannot watch. So the program's epoll calls watch an
 * eventfd in place of each open state file. It becomes readable when the state changes, and stays so until
 * the program reads the state from a descriptor that was opened after the change. All functions may be
 * called from any thread.
 */

/** Log tag of the back-end controller's driver. */
constexpr char kBackEndTag[] = "tovi_bectrl";

/** Returns the kind whose state file `path` is, or `std::nullopt` for any other path. */
std::optional<UploadKind> stateFileKind(const char* path);

/**
 * Writes a new state to the file below `root` and wakes up its watchers. Returns 0, or an errno after logging
 * it if the file cannot be written.
 */
int publishTransferState(const std::string& root, UploadKind kind, uint8_t state, uint8_t result);

/** Returns the number of state changes so far. Call it before opening a state file. */
uint64_t stateChanges(UploadKind kind);

/** Registers `fd` as a state file that was opened after `changes` changes. */
void rememberStateFile(int fd, UploadKind kind, uint64_t changes);

/** Unregisters `fd`. Call it before closing `fd`. */
void forgetStateFile(int fd);

/** Records that the state was read from `fd`. */
void noteStateRead(int fd);

/** Returns the eventfd to watch in place of `fd`, or -1 with errno if it cannot be created. */
int descriptorToWatch(int fd);

}  // namespace hidlaudio::host
