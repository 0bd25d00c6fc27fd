// SPDX-License-Identifier: Apache-2.0
#include "write_nonblocking.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

/** Bytes per write: fits into one page of a pipe and into one packet of a socket. */
constexpr size_t kPiece = 4096;

/**
 * Blocks SIGPIPE in this thread and discards one that its writes cause: it would end the process. The
 * destructor does not change errno.
 */
class NoBrokenPipe {
  public:
    NoBrokenPipe() {
        sigemptyset(&signal_);
        sigaddset(&signal_, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        wasPending_ = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &signal_, &before_);
    }
    ~NoBrokenPipe() {
        const int kept = errno;
        const timespec noTime{};
        if (!wasPending_) sigtimedwait(&signal_, nullptr, &noTime);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
        errno = kept;
    }
    NoBrokenPipe(const NoBrokenPipe&) = delete;
    NoBrokenPipe& operator=(const NoBrokenPipe&) = delete;

  private:
    sigset_t signal_{};
    sigset_t before_{};
    bool wasPending_ = false;
};

/** Writes a piece. Returns the number of bytes written, or -1 with errno. */
using WritePiece = ssize_t (*)(int fd, const char* data, size_t size);

/**
 * Writes to a pipe of this process, from which splice() moves the bytes to the client's pipe without
 * blocking. A write() to the client's pipe would block if that is full. Checking for free space first does
 * not help, because another writer can fill the pipe before the write.
 */
ssize_t writeToPipe(int fd, const char* data, size_t size) {
    const NoBrokenPipe noBrokenPipe;
    ::android::base::unique_fd reading, writing;
    if (!::android::base::Pipe(&reading, &writing, O_CLOEXEC | O_NONBLOCK)) return -1;
    const ssize_t filled = write(writing.get(), data, size);
    if (filled <= 0) return -1;
    return splice(reading.get(), nullptr, fd, nullptr, static_cast<size_t>(filled), SPLICE_F_NONBLOCK);
}

ssize_t writeToSocket(int fd, const char* data, size_t size) {
    return send(fd, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
}

ssize_t writeToMemory(int fd, const char* data, size_t size) {
    return write(fd, data, size);
}

bool isPipe(int fd) {
    return fcntl(fd, F_GETPIPE_SZ) >= 0;
}

bool isSocket(int fd) {
    int type = 0;
    socklen_t size = sizeof(type);
    return getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0;
}

bool isMemory(int fd) {
    return fcntl(fd, F_GET_SEALS) >= 0;
}

struct Target {
    /** Checks the type of a descriptor in the kernel. fstat() could block on the server of a FUSE file. */
    bool (*is)(int fd);
    WritePiece write;
};

constexpr Target kTargets[] = {{isPipe, writeToPipe}, {isSocket, writeToSocket}, {isMemory, writeToMemory}};

}  // namespace

int writeNonBlocking(int fd, std::string_view text) {
    if (fcntl(fd, F_GETFL) < 0) return errno;
    const Target* const target = std::find_if(std::begin(kTargets), std::end(kTargets),
                                              [fd](const Target& known) { return known.is(fd); });
    if (target == std::end(kTargets)) return EOPNOTSUPP;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, kPiece);
        const ssize_t taken = target->write(fd, piece.data(), piece.size());
        if (taken < 0) return errno;
        if (taken == 0) return EAGAIN;
        text.remove_prefix(static_cast<size_t>(taken));
    }
    return 0;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
