// SPDX-License-Identifier: Apache-2.0
#include "spin.h"

#include <sched.h>
#include <time.h>

namespace android::hardware::transport {

namespace {

constexpr uint16_t kUnknown = 0xffff;
/** How often a polling thread checks its lane for each check of the socket, where larger messages arrive. */
constexpr unsigned kLaneChecksPerSocketCheck = 16;
thread_local uint16_t tLastSender = kUnknown;
thread_local uint16_t tOwn = kUnknown;  // when this thread last sent a message

}  // namespace

uint16_t ownProcessor() {
    const int processor = sched_getcpu();
    tOwn = processor >= 0 ? static_cast<uint16_t>(processor) : kUnknown;
    return tOwn;
}

void noteSender(uint16_t processor) {
    tLastSender = processor;
}

bool maySpin() {
    return tLastSender != kUnknown && tLastSender != tOwn;
}

int64_t nowNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * INT64_C(1'000'000'000) + now.tv_nsec;
}

Channel::Received receiveSpinning(Channel& channel, IncomingMessage* message) {
    Lane* const lane = channel.callersLane();
    if (maySpin()) {
        if (lane != nullptr) lane->poll();
        const int64_t end = nowNanoseconds() + kSpinNanoseconds;
        unsigned round = 0;
        do {
            // Checking the lane takes no system call.
            if (lane != nullptr && !lane->full() && ++round % kLaneChecksPerSocketCheck != 0) continue;
            const Channel::Received received = channel.receive(message, false);
            if (received != Channel::Received::Nothing) return received;
        } while (nowNanoseconds() < end);
    }
    const bool mayBlock = lane == nullptr || lane->sleep();
    return channel.receive(message, mayBlock);
}

}  // namespace android::hardware::transport
