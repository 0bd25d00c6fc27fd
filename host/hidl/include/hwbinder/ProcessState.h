// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

namespace android::hardware {

/** The transport of this process. */
class ProcessState {
  public:
    static ProcessState* self();

    /**
     * Starts the thread pool: one thread that serves incoming calls and death notices, unless the
     * configured maximum only allows the thread that joins. Later calls have no effect. Any thread.
     */
    void startThreadPool();
};

}  // namespace android::hardware
