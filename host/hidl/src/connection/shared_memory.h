// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stddef.h>
#include <sys/mman.h>

namespace android::hardware::transport {

/** Memory that two processes of a link share. Any thread. */

/**
 * Creates memory that cannot change its size, and maps it for reading and writing.
 *
 * @param seals further seals; F_SEAL_FUTURE_WRITE makes this mapping the only one that can write
 * @param fd receives the descriptor to send to the peer
 * @return the mapping, or null with errno
 */
void* createShared(const char* name, size_t size, int seals, base::unique_fd* fd);

/** Maps memory of a peer. Returns null with errno if that is impossible. */
void* mapShared(int fd, size_t size, int protection = PROT_READ | PROT_WRITE);

/** Returns whether a peer's descriptor is memory of `size` bytes that cannot shrink. */
bool hasFixedSize(int fd, size_t size);

/** Returns whether this process may write to a peer's memory. */
bool isWritable(int fd);

}  // namespace android::hardware::transport
