// SPDX-License-Identifier: Apache-2.0
#include "bitstream_mode_file.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include "platform/retry_on_eintr.h"

namespace com::tovi::dtv::hardware::audio::output_external {
namespace {

using ::android::base::unique_fd;
using platform::retryOnEintr;

constexpr mode_t kPermissions = 0777;

}  // namespace

int loadBitstreamMode(std::optional<int32_t>& mode) {
    mode.reset();
    const unique_fd fd(
        retryOnEintr([] { return open(kBitstreamModeFile, O_RDWR | O_CREAT | O_CLOEXEC, kPermissions); }));
    if (!fd.ok()) return errno;
    int32_t stored = 0;
    const ssize_t bytes = retryOnEintr([&] { return read(fd.get(), &stored, sizeof(stored)); });
    if (bytes > 0) mode = stored;
    return 0;
}

int storeBitstreamMode(int32_t mode, ssize_t& written) {
    const unique_fd fd(retryOnEintr([] { return open(kBitstreamModeFile, O_WRONLY | O_CLOEXEC); }));
    if (!fd.ok()) return errno;
    written = retryOnEintr([&] { return write(fd.get(), &mode, sizeof(mode)); });
    return 0;
}

}  // namespace com::tovi::dtv::hardware::audio::output_external
