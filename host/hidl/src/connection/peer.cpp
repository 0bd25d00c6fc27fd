// SPDX-License-Identifier: Apache-2.0
#include "peer.h"

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace android::hardware::transport {

bool peerOf(int socket, Peer* peer) {
    ucred credentials{};
    socklen_t size = sizeof(credentials);
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return false;
    peer->pid = credentials.pid;
    peer->uid = credentials.uid;
    return credentials.uid == geteuid();
}

bool isChannelOf(int fd, pid_t peer) {
    int domain = 0;
    int type = 0;
    int listens = 0;
    ucred maker{};
    socklen_t size = sizeof(int);
    socklen_t makerSize = sizeof(maker);
    return getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX &&
           getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_SEQPACKET &&
           getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 && listens == 0 &&
           getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &maker, &makerSize) == 0 && maker.pid == peer;
}

base::unique_fd openProcess(pid_t pid) {
    return base::unique_fd(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
}

}  // namespace android::hardware::transport
