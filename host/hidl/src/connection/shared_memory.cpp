// SPDX-License-Identifier: Apache-2.0
#include "shared_memory.h"

#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <sys/stat.h>
#include <unistd.h>

namespace android::hardware::transport {

void* createShared(const char* name, size_t size, int seals, base::unique_fd* fd) {
    fd->reset(memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (*fd < 0 || ftruncate(*fd, static_cast<off_t>(size)) != 0) return nullptr;
    void* const memory = mapShared(*fd, size);
    if (memory == nullptr) return nullptr;
    if (fcntl(*fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL | seals) == 0) return memory;
    const int error = errno;
    munmap(memory, size);
    errno = error;
    return nullptr;
}

void* mapShared(int fd, size_t size, int protection) {
    void* const memory = mmap(nullptr, size, protection, MAP_SHARED, fd, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}

bool hasFixedSize(int fd, size_t size) {
    // If the owner could shrink the memory, reading it could raise SIGBUS. Only memory has seals.
    const int seals = fcntl(fd, F_GET_SEALS);
    struct stat status{};
    return seals >= 0 && (seals & F_SEAL_SHRINK) != 0 && fstat(fd, &status) == 0 &&
           static_cast<uint64_t>(status.st_size) == size;
}

bool isWritable(int fd) {
    const int seals = fcntl(fd, F_GET_SEALS);
    return seals >= 0 && (seals & (F_SEAL_WRITE | F_SEAL_FUTURE_WRITE)) == 0 &&
           (fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDWR;
}

}  // namespace android::hardware::transport
