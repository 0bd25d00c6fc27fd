// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

namespace tovi_audio_vts {

/** Longest time in which the service must have done what a test waits for. */
constexpr std::chrono::seconds kLimit(60);

/** A queue of events from the threads of the HIDL pool to the test. Thread-safe. */
template <typename Event>
class Events {
  public:
    void add(Event event) {
        const std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(std::move(event));
        added_.notify_all();
    }

    /** Waits for the next event and removes it. Returns `std::nullopt` if there is none in time. */
    std::optional<Event> next(std::chrono::milliseconds limit = kLimit) {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!added_.wait_for(lock, limit, [this] { return !events_.empty(); })) return std::nullopt;
        Event event = std::move(events_.front());
        events_.pop_front();
        return event;
    }

    /** Returns the number of events that were not taken. */
    size_t count() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return events_.size();
    }

  private:
    mutable std::mutex mutex_;
    std::condition_variable added_;
    std::deque<Event> events_;
};

}  // namespace tovi_audio_vts
