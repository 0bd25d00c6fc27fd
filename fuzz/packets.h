// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <hwbinder/Parcel.h>
#include <sys/socket.h>
#include <transport/wire.h>

#include <bitset>
#include <vector>

#include "input.h"

namespace hidlaudio::fuzz {

/** A packet of a peer. */
struct Packet {
    std::vector<uint8_t> bytes;
    std::vector<int> fds;
};

/** Sends `packet`, or drops it if the socket is full. */
void send(int socket, const Packet& packet);

/** A pair of connected SOCK_SEQPACKET sockets, like a call channel. */
struct SocketPair {
    android::base::unique_fd near;
    android::base::unique_fd far;

    SocketPair();
};

/**
 * Returns a descriptor by `kind` modulo 5: 0 valid shared memory, 1 the null device, 2 `far` (the far
 * end of a call channel), 3 memory that its owner can shrink, 4 a page of memory. All but `far` stay open
 * until the process exits.
 */
int descriptor(uint8_t kind, int far);

/** Writes to the memory of descriptor(0). */
void fillMemory(size_t offset, const uint8_t* data, size_t size);

/** Returns which descriptors below 128 are open. The fuzzer itself may open some between two inputs. */
std::bitset<128> openDescriptors();

/**
 * Builds a message from the input: type, flags, target, code, references, descriptors, bulk and body
 * with matching sizes, then changes of single bytes.
 *
 * @param object the target if the input names none
 * @param token  interface name at the beginning of a call's body
 * @param far    descriptor for the messages, see descriptor()
 */
Packet takeMessage(Input& input, uint64_t object, const char* token, int far);

}  // namespace hidlaudio::fuzz
