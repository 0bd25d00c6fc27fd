// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <functional>
#include <memory>

namespace android::hardware::details {

/** Runs tasks one after another on its own thread, which the first push() starts. */
class TaskRunner {
  public:
    using Task = std::function<void()>;

    TaskRunner();
    ~TaskRunner();

    /** Sets the maximum number of queued tasks. Call it before the first push(). */
    void start(size_t limit);

    /** Queues a task. Returns false if the queue is full. Any thread. */
    bool push(const Task& task);

  private:
    struct Queue;
    std::shared_ptr<Queue> queue_;
};

}  // namespace android::hardware::details
