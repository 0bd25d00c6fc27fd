// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace android::hardware {

/** Who called the method that runs on this thread. */
class IPCThreadState {
  public:
    static IPCThreadState* self();

    /** Process of the caller; this process outside of a call. */
    pid_t getCallingPid() const;
    /** User of the caller; this process's outside of a call. */
    uid_t getCallingUid() const;
};

}  // namespace android::hardware
