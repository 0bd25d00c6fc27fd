// SPDX-License-Identifier: Apache-2.0
#include "regular_file.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>

namespace hidlaudio::host {
namespace {

const char* kindOf(mode_t mode) {
    if (S_ISLNK(mode)) return "a link";
    if (S_ISFIFO(mode)) return "a named pipe";
    if (S_ISSOCK(mode)) return "a socket";
    return S_ISCHR(mode) || S_ISBLK(mode) ? "a device" : nullptr;
}

}  // namespace

int openRegularFile(const std::string& path, int flags, mode_t mode) {
    if ((flags & O_ACCMODE) != O_RDONLY) flags |= O_NOFOLLOW;
    android::base::unique_fd fd(open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode));
    struct stat status{};
    if (fd.get() < 0 || fstat(fd.get(), &status) != 0) return -1;
    if (S_ISREG(status.st_mode)) return fd.release();
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return -1;
}

std::string irregularityOf(const std::string& path, mode_t mode) {
    const char* const kind = kindOf(mode);
    return kind == nullptr ? "" : path + " is " + kind + ", not a regular file";
}

std::string fileError(const std::string& path, int error) {
    struct stat status{};
    const std::string irregularity =
        lstat(path.c_str(), &status) == 0 ? irregularityOf(path, status.st_mode) : "";
    return irregularity.empty() ? path + ": " + strerror(error) : irregularity;
}

}  // namespace hidlaudio::host
