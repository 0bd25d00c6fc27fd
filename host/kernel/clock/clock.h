// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <stddef.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <vector>

namespace hidlaudio::host {

/**
 * The clock of the program's sleeps (nanosleep, usleep) and timers (timerfd): real time, real time passing
 * a number of times faster, or time that a test steps.
 */

constexpr unsigned kFastestClock = 1000000;

/**
 * Makes sleeps, timers and epoll time-outs that begin after this call pass `times` times faster: 1 (real
 * time) to kFastestClock. Returns false without a change for other values. The remaining time of an
 * interrupted sleep or a timer is reported in the program's time. May be called from any thread.
 */
bool setClockSpeed(unsigned times);

/**
 * Stops the program's time at 0, for as long as the object exists; the test steps it. Only one object may
 * exist at a time. All sleeping threads must have ended before it is destroyed. Timers that were armed
 * before its creation use real time. Arming a repeating timer fails with EINVAL. So does an absolute time,
 * because the clocks that the program can read are not stepped.
 */
class SteppedClock {
  public:
    using Time = std::chrono::nanoseconds;

    enum class Sleeps {
        PassTime,  // a sleep advances the time by its length and returns at once
        Wait,      // a sleep returns when advance() has reached its end
    };

    explicit SteppedClock(Sleeps sleeps = Sleeps::PassTime);
    ~SteppedClock();
    SteppedClock(const SteppedClock&) = delete;
    SteppedClock& operator=(const SteppedClock&) = delete;

    /**
     * Sets a function to call after each sleep, so that a test can act between two sleeps. It runs on the
     * thread that slept; its argument is the number of sleeps when this sleep began, itself included. Call
     * this before the first sleep.
     */
    void onSleep(std::function<void(size_t)> hook);

    /** Advances the time. Sleeps that have ended return, and expired timers become readable. Any thread. */
    void advance(Time time);

    /** Blocks until the sum of waiting sleeps and armed timers is at least `count`. Any thread. */
    void awaitPending(size_t count);

    Time now() const;

    /** Returns the length of each sleep so far, in the order in which they began. */
    std::vector<Time> sleeps() const;

    /** Sleeps for `time`. Called by the wrapped calls. */
    void sleep(Time time);

    /**
     * Arms the timer `fd`, or disarms it if `time` is 0; `left` becomes the remaining time of its former
     * setting. Returns 0, or -1 with errno. Called by the wrapped calls.
     */
    int setTimer(int fd, Time time, Time& left);

    /** Disarms the timer `fd` before the descriptor is closed. Called by the wrapped calls. */
    void dropTimer(int fd);

  private:
    /** Sleeps. Returns the hook to call afterwards; `count` becomes its argument. */
    std::function<void(size_t)> passSleep(Time time, size_t& count);
    void advanceLocked(Time time) REQUIRES(mutex_);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    const Sleeps sleepsMode_;
    Time now_ GUARDED_BY(mutex_){0};
    std::vector<Time> sleeps_ GUARDED_BY(mutex_);
    std::multiset<Time> sleepers_ GUARDED_BY(mutex_);  // end of each waiting sleep
    std::map<int, Time> timers_ GUARDED_BY(mutex_);    // expiry of each armed timer
    std::function<void(size_t)> hook_ GUARDED_BY(mutex_);
};

}  // namespace hidlaudio::host
