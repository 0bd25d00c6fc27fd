// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/cmsg.h>

namespace hidlaudio::python {

/** Sends one byte and the descriptor. Returns false on an error. */
inline bool passDescriptor(int socket, int fd) {
    return android::base::SendFileDescriptors(socket, "", 1, fd) == 1;
}

/** Waits for a message with a descriptor. Returns it, or -1 if the other end is closed. */
inline int receiveDescriptor(int socket) {
    char byte = 0;
    android::base::unique_fd fd;
    return android::base::ReceiveFileDescriptors(socket, &byte, 1, &fd) == 1 ? fd.release() : -1;
}

}  // namespace hidlaudio::python
