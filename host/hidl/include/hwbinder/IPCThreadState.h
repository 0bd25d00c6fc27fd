// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace android::hardware {

/** Identity of the caller of the method that runs on this thread. */
class IPCThreadState {
  public:
    static IPCThreadState* self();

    /** Returns the process ID of the caller, or of this process if the thread serves no call. */
    pid_t getCallingPid() const;
    /** Returns the user ID of the caller, or of this process if the thread serves no call. */
    uid_t getCallingUid() const;
};

}  // namespace android::hardware
