// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string.h>
#include <sys/socket.h>

#include <vector>

namespace hidlaudio::test {

/** Sends one packet, which is then in the receiver's queue. Returns false if the kernel rejects it. */
inline bool sendRaw(int socket, const void* data, size_t size, const std::vector<int>& fds = {}) {
    iovec part{const_cast<void*>(data), size};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    const size_t fdBytes = fds.size() * sizeof(int);
    std::vector<char> control(CMSG_SPACE(fdBytes));
    if (!fds.empty()) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr* rights = CMSG_FIRSTHDR(&message);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(fdBytes);
        memcpy(CMSG_DATA(rights), fds.data(), fdBytes);
    }
    return sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT) == static_cast<ssize_t>(size);
}

}  // namespace hidlaudio::test
