// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <sys/types.h>

namespace android::hardware::transport {

/** The process at the other end of a connected socket, as the kernel knows it. */
struct Peer {
    pid_t pid = -1;
    uid_t uid = static_cast<uid_t>(-1);
};

/** False where the peer is another user's, or the kernel does not tell. */
bool peerOf(int socket, Peer* peer);

/**
 * Whether a descriptor that the process `peer` sent is a socket as call channels are: one end
 * of a pair that this process made.
 */
bool isChannelOf(int fd, pid_t peer);

/** A descriptor that becomes readable when the process ends; negative, with errno, on failure. */
base::unique_fd openProcess(pid_t pid);

}  // namespace android::hardware::transport
