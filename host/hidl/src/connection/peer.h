// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <sys/types.h>

namespace android::hardware::transport {

/** The process at the other end of a connected socket, as the kernel reports it. */
struct Peer {
    pid_t pid = -1;
    uid_t uid = static_cast<uid_t>(-1);
};

/** Reads the peer of `socket`. Returns false if it belongs to another user, or on an error. */
bool peerOf(int socket, Peer* peer);

/**
 * Returns whether a descriptor that the process `peer` sent can be a call channel: one end of a
 * SOCK_SEQPACKET socket pair that `peer` created.
 */
bool isChannelOf(int fd, pid_t peer);

/** Opens a descriptor that becomes readable when the process ends. Negative, with errno, on failure. */
base::unique_fd openProcess(pid_t pid);

}  // namespace android::hardware::transport
