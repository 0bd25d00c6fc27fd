// SPDX-License-Identifier: Apache-2.0
#include "program_lock.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>

#include "regular_file.h"
#include "tv_root.h"

namespace hidlaudio::host {
namespace {

/** Returns a description of a write lock on the whole file. */
struct flock writeLock() {
    struct flock lock{};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

}  // namespace

std::string programLockFile(const std::string& program) {
    return tvRoot() + "/run/" + program + ".lock";
}

int openProgramLock(const std::string& program) {
    return openRegularFile(programLockFile(program), O_RDWR | O_CREAT, 0600);
}

int acquireProgramLock(int fd) {
    struct flock lock = writeLock();
    if (fcntl(fd, F_SETLK, &lock) == 0) return 0;
    return errno == EACCES || errno == EAGAIN ? EBUSY : errno;
}

pid_t programLockHolder(const std::string& program) {
    const android::base::unique_fd fd(openRegularFile(programLockFile(program), O_RDONLY));
    struct flock lock = writeLock();
    const bool held = fd.get() >= 0 && fcntl(fd.get(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    return held ? lock.l_pid : 0;
}

}  // namespace hidlaudio::host
