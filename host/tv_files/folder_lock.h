// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/**
 * Holds a folder's advisory lock, so that a value in it can be read and written
 * as one step: excludes every other holder, of this process and of others, and
 * ends with the process. Waits for the lock.
 */
class FolderLock {
  public:
    explicit FolderLock(const std::string& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    /** 0 when the lock is held, else the errno of what failed (ENOENT: no such folder). */
    int error() const { return error_; }

  private:
    int fd_;
    int error_ = 0;
};

}  // namespace hidlaudio::host
