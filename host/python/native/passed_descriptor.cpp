// SPDX-License-Identifier: Apache-2.0
#include "passed_descriptor.h"

#include <errno.h>
#include <string.h>
#include <sys/socket.h>

namespace hidlaudio::python {
namespace {

/** A message of one byte with room for one descriptor. */
struct Message {
    char byte = 0;
    iovec data{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr head{};

    Message() {
        head.msg_iov = &data;
        head.msg_iovlen = 1;
        head.msg_control = control;
        head.msg_controllen = sizeof(control);
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;
};

}  // namespace

bool passDescriptor(int socket, int fd) {
    Message message;
    cmsghdr* header = CMSG_FIRSTHDR(&message.head);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    memcpy(CMSG_DATA(header), &fd, sizeof(fd));
    ssize_t sent = 0;
    do {
        sent = sendmsg(socket, &message.head, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == 1;
}

int receiveDescriptor(int socket) {
    Message message;
    ssize_t received = 0;
    do {
        received = recvmsg(socket, &message.head, MSG_CMSG_CLOEXEC);
    } while (received < 0 && errno == EINTR);
    const cmsghdr* header = received == 1 ? CMSG_FIRSTHDR(&message.head) : nullptr;
    if (header == nullptr || header->cmsg_type != SCM_RIGHTS) return -1;
    int fd = -1;
    memcpy(&fd, CMSG_DATA(header), sizeof(fd));
    return fd;
}

}  // namespace hidlaudio::python
