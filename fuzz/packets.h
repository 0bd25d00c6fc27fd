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

/** Bytes that a peer may send. */
struct Packet {
    std::vector<uint8_t> bytes;
    std::vector<int> fds;
};

/** Sends `packet` where there is room for it. */
void send(int socket, const Packet& packet);

/** A pair of connected sockets, as call channels are. */
struct SocketPair {
    android::base::unique_fd near;
    android::base::unique_fd far;

    SocketPair();
};

/**
 * A descriptor of the kind that `kind` tells: shared memory as a peer's must be, null device,
 * a call channel's far end, memory of which the peer can cut off a part, a page of memory.
 * All but the channel are the process's for its whole life.
 */
int descriptor(uint8_t kind, int far);

/** Writes to the memory that descriptor() gives out. */
void fillMemory(size_t offset, const uint8_t* data, size_t size);

/** Which of the first numbers are descriptors now. The fuzzer itself may open some between two inputs. */
std::bitset<128> openDescriptors();

/**
 * A whole message, whose sizes are right to begin with: type, flags, target, code, references,
 * descriptors, bulk, body; then changes of single bytes.
 *
 * @param object the target where the input does not give another
 * @param token what the body of a call begins with
 */
Packet takeMessage(Input& input, uint64_t object, const char* token, int far);

}  // namespace hidlaudio::fuzz
