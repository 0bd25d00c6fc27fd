// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::python {

/** Sends one byte and the descriptor. Returns false on an error. */
bool passDescriptor(int socket, int fd);

/** Waits for a message with a descriptor. Returns it, or -1 if the other end is closed. */
int receiveDescriptor(int socket);

}  // namespace hidlaudio::python
