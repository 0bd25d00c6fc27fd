// SPDX-License-Identifier: Apache-2.0
#include "descriptors.h"

#include <errno.h>

#include <array>
#include <atomic>

namespace hidlaudio::host {
namespace {

/** Calls on higher descriptors work, but are not counted and have no faults. */
constexpr int kDescriptors = 65536;

std::array<std::atomic<TvDescriptor>, kDescriptors> onTv;

}  // namespace

void rememberTvDescriptor(int fd, TvDescriptor kind) {
    if (fd >= 0 && fd < kDescriptors) onTv[static_cast<size_t>(fd)] = kind;
}

void forgetTvDescriptor(int fd) {
    rememberTvDescriptor(fd, TvDescriptor::None);
}

TvDescriptor kindOfDescriptor(int fd) {
    return fd >= 0 && fd < kDescriptors ? onTv[static_cast<size_t>(fd)].load() : TvDescriptor::None;
}

bool isTvDescriptor(int fd) {
    return kindOfDescriptor(fd) != TvDescriptor::None;
}

bool isTvStream(FILE* stream) {
    const int kept = errno;
    const int fd = fileno(stream);
    errno = kept;
    return isTvDescriptor(fd);
}

}  // namespace hidlaudio::host
