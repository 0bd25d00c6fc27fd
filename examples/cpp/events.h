// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utils/RefBase.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

/** Something that happened outside the main thread. */
struct Event {
    enum class Kind { Command, Changed, Uploaded, Died } kind;
    std::string text;    // of a command, or the names of a change
    int32_t result = 0;  // of an upload
    uint64_t link = 0;   // number of the connection that the event belongs to
};

/**
 * A queue to the main thread. Callbacks only add an event, so the service, which waits for them, is not
 * delayed by the work of the app. Thread-safe.
 */
class Events : public android::RefBase {
  public:
    void add(Event event) {
        const std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(std::move(event));
        added_.notify_one();
    }

    /** Waits for the next event. */
    Event next() {
        std::unique_lock<std::mutex> lock(mutex_);
        added_.wait(lock, [this] { return !events_.empty(); });
        return take();
    }

    /** Returns the next event, or `std::nullopt` if there is none yet. */
    std::optional<Event> poll() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (events_.empty()) return std::nullopt;
        return take();
    }

  private:
    Event take() {
        Event event = std::move(events_.front());
        events_.pop_front();
        return event;
    }

    std::mutex mutex_;
    std::condition_variable added_;
    std::deque<Event> events_;
};
