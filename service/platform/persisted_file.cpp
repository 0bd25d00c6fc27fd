// SPDX-License-Identifier: Apache-2.0
#include "persisted_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

std::optional<PersistedFile> look(int fd) {
    struct stat status{};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    PersistedFile file{status.st_size, {}};
    if (read(fd, file.start, sizeof(file.start)) < 0) return std::nullopt;
    return file;
}

}  // namespace

std::optional<PersistedFile> inspectFile(const char* path) {
    // O_NONBLOCK: if the path is a named pipe, open() must not block the serving thread.
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    const std::optional<PersistedFile> file = look(fd);
    close(fd);
    return file;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
