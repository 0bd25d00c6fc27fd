// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <functional>

namespace android::hardware::details {

/**
 * Queue of the generated in-process wrappers (Bs…). They are compiled but never created, because a
 * workstation loads no implementation into the client. The queue therefore takes no task.
 */
class TaskRunner {
  public:
    using Task = std::function<void()>;

    void start(size_t) {}
    bool push(const Task&) { return false; }
};

}  // namespace android::hardware::details
