// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

namespace android::hardware {

/** This process's side of the transport. */
class ProcessState {
  public:
    static ProcessState* self();

    /**
     * Starts a thread that serves incoming calls and death notices, where none was
     * started yet and joinRpcThreadpool is not announced. Any thread.
     */
    void startThreadPool();
};

}  // namespace android::hardware
