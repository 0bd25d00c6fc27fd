// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string_view>

namespace hidlaudio::host {

/** The folder of the faults of the daemon's system calls, below the TV's root. */
constexpr char kCallFaultFolder[] = "/kernel/faults";

/** The system calls that can be made to fail. The first kMovingCalls can have short reads or writes. */
constexpr size_t kMovingCalls = 4;
constexpr const char* kFaultableCalls[] = {
    "read",       "write",          "fread",           "fwrite",        "open",
    "fopen",      "access",         "remove",          "unlink",        "close",
    "fclose",     "fsync",          "lseek",           "fseek",         "ioctl",
    "nanosleep",  "usleep",         "epoll_create",    "epoll_create1", "epoll_ctl",
    "epoll_wait", "timerfd_create", "timerfd_settime", "pthread_create"};

/** Returns whether the system call can have short reads or writes. */
constexpr bool canBeShort(std::string_view call) {
    for (size_t i = 0; i < kMovingCalls; ++i)
        if (call == kFaultableCalls[i]) return true;
    return false;
}

}  // namespace hidlaudio::host
