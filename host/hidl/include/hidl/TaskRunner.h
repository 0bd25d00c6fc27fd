// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <functional>
#include <memory>

namespace android::hardware::details {

/** Runs tasks one after another on a thread of its own, started by the first task. */
class TaskRunner {
  public:
    using Task = std::function<void()>;

    TaskRunner();
    ~TaskRunner();

    /** At most `limit` tasks wait at a time. Before the first push. */
    void start(size_t limit);

    /** Any thread. False where the queue is full. */
    bool push(const Task& task);

  private:
    struct Queue;
    std::shared_ptr<Queue> queue_;
};

}  // namespace android::hardware::details
