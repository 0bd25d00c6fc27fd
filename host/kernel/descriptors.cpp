// SPDX-License-Identifier: Apache-2.0
#include "descriptors.h"

#include <errno.h>

#include <array>
#include <atomic>

namespace hidlaudio::host {
namespace {

/** Descriptors above are used, but not counted. */
constexpr int kDescriptors = 65536;
std::array<std::atomic<bool>, kDescriptors> onTv;

void note(int fd, bool isOnTv) {
    if (fd >= 0 && fd < kDescriptors) onTv[static_cast<size_t>(fd)] = isOnTv;
}

}  // namespace

void rememberTvDescriptor(int fd) {
    note(fd, true);
}

void forgetTvDescriptor(int fd) {
    note(fd, false);
}

bool isTvDescriptor(int fd) {
    return fd >= 0 && fd < kDescriptors && onTv[static_cast<size_t>(fd)];
}

bool isTvStream(FILE* stream) {
    const int kept = errno;
    const int fd = fileno(stream);
    errno = kept;
    return isTvDescriptor(fd);
}

}  // namespace hidlaudio::host
