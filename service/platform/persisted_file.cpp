// SPDX-License-Identifier: Apache-2.0
#include "persisted_file.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace com::tovi::dtv::hardware::audio::platform {

std::optional<PersistedFile> inspectFile(const char* path) {
    // O_NONBLOCK: if the path is a named pipe, open() must not block the serving thread.
    const ::android::base::unique_fd fd(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status{};
    if (!fd.ok() || fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    PersistedFile file{status.st_size, {}};
    if (read(fd.get(), file.start, sizeof(file.start)) < 0) return std::nullopt;
    return file;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
