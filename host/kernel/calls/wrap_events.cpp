// SPDX-License-Identifier: Apache-2.0
#include "descriptors.h"
#include "host/kernel/back_end/transfer_state.h"
#include "host/kernel/clock/clock_calls.h"
#include "host/kernel/faults/faulty_call.h"
#include "real_calls.h"

namespace hidlaudio::host {

extern "C" {

int __wrap_epoll_create(int size) {
    return unlessFaulty("epoll_create", {}, -1, [&] { return __real_epoll_create(size); });
}

int __wrap_epoll_create1(int flags) {
    return unlessFaulty("epoll_create1", {}, -1, [&] { return __real_epoll_create1(flags); });
}

int __wrap_epoll_ctl(int epoll, int operation, int fd, epoll_event* event) {
    return unlessFaulty("epoll_ctl", {nullptr, fd}, -1, [&] {
        const int watched = kindOfDescriptor(fd) == TvDescriptor::TransferState ? descriptorToWatch(fd) : fd;
        return watched >= 0 || fd < 0 ? __real_epoll_ctl(epoll, operation, watched, event) : -1;
    });
}

int __wrap_epoll_wait(int epoll, epoll_event* events, int maximum, int timeout) {
    return unlessFaulty("epoll_wait", {}, -1,
                        [&] { return __real_epoll_wait(epoll, events, maximum, timeoutOnClock(timeout)); });
}

/** Returns its error and does not set errno, as pthread_create() does. */
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                          void* argument) {
    const FaultVerdict verdict = countCall("pthread_create", {});
    if (verdict.error != 0) return verdict.error;
    return __real_pthread_create(thread, attributes, routine, argument);
}

}  // extern "C"

}  // namespace hidlaudio::host
