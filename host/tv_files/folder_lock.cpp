// SPDX-License-Identifier: Apache-2.0
#include "folder_lock.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace hidlaudio::host {

FolderLock::FolderLock(const std::string& folder)
    : fd_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)) {
    if (!fd_.ok() || TEMP_FAILURE_RETRY(flock(fd_.get(), LOCK_EX)) != 0) error_ = errno;
}

}  // namespace hidlaudio::host
