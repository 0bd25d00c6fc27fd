// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include "host/kernel/clock/clock_calls.h"
#include "host/kernel/faults/faulty_call.h"
#include "real_calls.h"

namespace hidlaudio::host {

extern "C" {

int __wrap_nanosleep(const timespec* request, timespec* remainder) {
    return unlessFaulty("nanosleep", {}, -1, [&] { return sleepOnClock(request, remainder); });
}

int __wrap_usleep(useconds_t microseconds) {
    const timespec request = toTimespec(std::chrono::microseconds(microseconds));
    return unlessFaulty("usleep", {nullptr, -1, static_cast<long>(microseconds)}, -1,
                        [&] { return sleepOnClock(&request, nullptr); });
}

int __wrap_timerfd_create(int clock, int flags) {
    return unlessFaulty("timerfd_create", {}, -1, [&] { return __real_timerfd_create(clock, flags); });
}

int __wrap_timerfd_settime(int fd, int flags, const itimerspec* value, itimerspec* old) {
    return unlessFaulty("timerfd_settime", {}, -1, [&] { return setTimerOnClock(fd, flags, value, old); });
}

}  // extern "C"

}  // namespace hidlaudio::host
