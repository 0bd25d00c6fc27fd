// SPDX-License-Identifier: Apache-2.0
#include "peer.h"

#include <sys/socket.h>
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

bool isPacketSocket(int fd) {
    int domain = 0;
    int type = 0;
    socklen_t size = sizeof(int);
    if (getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) != 0) return false;
    if (getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) != 0) return false;
    return domain == AF_UNIX && type == SOCK_SEQPACKET;
}

}  // namespace android::hardware::transport
