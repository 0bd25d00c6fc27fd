// SPDX-License-Identifier: Apache-2.0
#include <android-base/thread_annotations.h>
#include <hidl/HidlPassthroughSupport.h>
#include <hidl/TaskRunner.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace android::hardware::details {

sp<hidl::base::V1_0::IBase> wrapPassthroughInternal(const sp<hidl::base::V1_0::IBase>& interface) {
    auto wrap = getBsConstructorMap().get(getDescriptor(interface.get()), nullptr);
    return wrap != nullptr ? wrap(interface.get()) : nullptr;
}

struct TaskRunner::Queue {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Task> tasks GUARDED_BY(mutex);
    size_t limit GUARDED_BY(mutex) = 0;
    bool started GUARDED_BY(mutex) = false;
    bool ended GUARDED_BY(mutex) = false;

    /** Waits for a task. Returns an empty one if the runner has ended and the queue is empty. */
    Task next() {
        std::unique_lock<std::mutex> lock(mutex);
        const base::ScopedLockAssertion held(mutex);
        changed.wait(lock, [this]() REQUIRES(mutex) { return ended || !tasks.empty(); });
        if (tasks.empty()) return nullptr;
        Task task = std::move(tasks.front());
        tasks.pop_front();
        return task;
    }

    void run() {
        while (const Task task = next()) task();
    }
};

TaskRunner::TaskRunner() : queue_(std::make_shared<Queue>()) {}

TaskRunner::~TaskRunner() {
    std::lock_guard<std::mutex> lock(queue_->mutex);
    queue_->ended = true;
    queue_->changed.notify_all();
}

void TaskRunner::start(size_t limit) {
    std::lock_guard<std::mutex> lock(queue_->mutex);
    queue_->limit = limit;
}

bool TaskRunner::push(const Task& task) {
    std::lock_guard<std::mutex> lock(queue_->mutex);
    if (queue_->tasks.size() >= queue_->limit) return false;
    queue_->tasks.push_back(task);
    if (!queue_->started) {
        queue_->started = true;
        std::thread([queue = queue_] { queue->run(); }).detach();
    }
    queue_->changed.notify_all();
    return true;
}

}  // namespace android::hardware::details
