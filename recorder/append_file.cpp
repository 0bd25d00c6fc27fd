// SPDX-License-Identifier: Apache-2.0
#include "append_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace hidlaudio::recorder {
namespace {

constexpr int64_t kLastPiece = 4096;
constexpr int64_t kReservedAhead = 128 << 10;

/** Returns the size limit of the process. A write beyond it would end the process with SIGXFSZ. */
int64_t limitOfProcess() {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0) return INT64_MAX;
    return static_cast<int64_t>(std::min<uint64_t>(limit.rlim_cur, INT64_MAX));
}

}  // namespace

int AppendFile::open(const std::string& path, int64_t sizeLimit) {
    close();
    // O_NONBLOCK: opening a pipe must not wait for its reader.
    const int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    fd_ = ::open(path.c_str(), flags, 0600);
    if (fd_ < 0) return errno;
    struct stat status{};
    if (fstat(fd_, &status) == 0 && S_ISREG(status.st_mode)) {
        reservedEnd_ = 0;
        sizeLimit_ = sizeLimit;
        size_ = status.st_size;
        return 0;
    }
    close();
    return EINVAL;
}

void AppendFile::close() {
    if (fd_ < 0) return;
    ::close(fd_);
    fd_ = -1;
}

bool AppendFile::isLinked() const {
    struct stat status{};
    return fstat(fd_, &status) == 0 && status.st_nlink > 0;
}

/**
 * Makes sure that `size` bytes fit after the end of the file. The last piece may exceed the limit of the
 * file, but not that of the process. Returns 0, or an errno.
 */
int AppendFile::reserve(int64_t size, bool isLast) {
    if (!isLast && size_ + size <= reservedEnd_) return 0;
    struct stat status{};
    if (fstat(fd_, &status) != 0) return errno;
    size_ = status.st_size;  // another process may append to the file too
    const int64_t limit = isLast ? limitOfProcess() : std::min(sizeLimit_, limitOfProcess());
    if (size_ + size > limit) return EFBIG;
    if (isLast) return 0;
    reservedEnd_ = std::min(size_ + size + kReservedAhead, limit);
    if (fallocate(fd_, FALLOC_FL_KEEP_SIZE, size_, reservedEnd_ - size_) == 0) return 0;
    // Not every file system can reserve space, or as much.
    return errno == ENOSPC || errno == EDQUOT ? errno : 0;
}

int64_t AppendFile::append(const void* data, size_t size, bool isLast) {
    const auto wanted = static_cast<int64_t>(size);
    if (const int error = reserve(isLast ? wanted : wanted + kLastPiece, isLast); error != 0) {
        errno = error;
        return -1;
    }
    const ssize_t written = write(fd_, data, size);
    if (written == static_cast<ssize_t>(size)) {
        size_ += wanted;
        return size_ - wanted;
    }
    const int error = written < 0 ? errno : ENOSPC;
    if (written > 0) (void)!ftruncate(fd_, lseek(fd_, 0, SEEK_CUR) - written);
    errno = error;
    return -1;
}

}  // namespace hidlaudio::recorder
