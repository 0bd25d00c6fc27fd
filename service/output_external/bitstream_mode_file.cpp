// SPDX-License-Identifier: Apache-2.0
#include "bitstream_mode_file.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include "platform/retry_on_eintr.h"

namespace com::tovi::dtv::hardware::audio::output_external {
namespace {

using platform::retryOnEintr;

constexpr mode_t kPermissions = 0777;

}  // namespace

int loadBitstreamMode(std::optional<int32_t>& mode) {
    mode.reset();
    const int fd =
        retryOnEintr([] { return open(kBitstreamModeFile, O_RDWR | O_CREAT | O_CLOEXEC, kPermissions); });
    if (fd < 0) return errno;
    int32_t stored = 0;
    const ssize_t bytes = retryOnEintr([&] { return read(fd, &stored, sizeof(stored)); });
    close(fd);
    if (bytes > 0) mode = stored;
    return 0;
}

int storeBitstreamMode(int32_t mode, ssize_t& written) {
    const int fd = retryOnEintr([] { return open(kBitstreamModeFile, O_WRONLY | O_CLOEXEC); });
    if (fd < 0) return errno;
    written = retryOnEintr([&] { return write(fd, &mode, sizeof(mode)); });
    close(fd);
    return 0;
}

}  // namespace com::tovi::dtv::hardware::audio::output_external
