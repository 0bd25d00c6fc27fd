// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>

#include <string>

namespace hidlaudio::host {

/**
 * Holds an exclusive advisory lock on a folder, so that a value in it can be read and written in one step.
 * The constructor waits until no other object, in this process or another, holds the lock. The kernel
 * releases the lock when the process ends.
 */
class FolderLock {
  public:
    explicit FolderLock(const std::string& folder);

    /** Returns 0 if the lock is held, or an errno: ENOENT if the folder does not exist. */
    int error() const { return error_; }

  private:
    android::base::unique_fd fd_;
    int error_ = 0;
};

}  // namespace hidlaudio::host
