// SPDX-License-Identifier: Apache-2.0
#include "spin.h"

#include <sched.h>
#include <time.h>

namespace android::hardware::transport {

bool maySpin() {
    // Processors may be taken from a process at run time; a look in some hundred is
    // soon enough.
    constexpr unsigned kLookEvery = 256;
    static thread_local unsigned calls = 0;
    static thread_local bool several = false;
    if (calls++ % kLookEvery == 0) {
        cpu_set_t processors;
        several = sched_getaffinity(0, sizeof(processors), &processors) != 0 || CPU_COUNT(&processors) > 1;
    }
    return several;
}

int64_t nowNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * INT64_C(1'000'000'000) + now.tv_nsec;
}

Channel::Received receiveSpinning(Channel& channel, IncomingMessage* message) {
    if (maySpin()) {
        const int64_t end = nowNanoseconds() + kSpinNanoseconds;
        do {
            const Channel::Received received = channel.receive(message, false);
            if (received != Channel::Received::Nothing) return received;
        } while (nowNanoseconds() < end);
    }
    return channel.receive(message, true);
}

}  // namespace android::hardware::transport
