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
#include <string_view>
#include <vector>

namespace hidlaudio::host {

/**
 * How time passes for the program's nanosleep, usleep and timerfd timers: as it
 * is, a number of times faster, or as a test steps it.
 */

constexpr unsigned kFastestClock = 1000000;

/**
 * Makes sleeps, timers and epoll timeouts that begin from now on pass `times`
 * (1 to kFastestClock; 1 is real time) faster. What an interrupted sleep has left
 * and what a timer had left is told in the program's own time. Any thread.
 */
void setClockSpeed(unsigned times);

/** Sets the speed from a text like "50". False, and nothing changes, for any other text. */
[[nodiscard]] bool setClockSpeed(std::string_view times);

/**
 * Time that passes only as a test wants, from 0, for as long as the object lives.
 * One at a time; threads that sleep must have ended before it ends. Timers that
 * were armed before keep to real time. A repeating timer cannot be stepped: arming
 * one fails with EINVAL, as does an absolute time (the speed of a clock that the
 * program can read is not changed).
 */
class SteppedClock {
  public:
    using Time = std::chrono::nanoseconds;

    enum class Sleeps {
        PassTime,  // a sleep returns at once, and time has passed by its length
        Wait,      // a sleep returns when advance() has brought time to its end
    };

    explicit SteppedClock(Sleeps sleeps = Sleeps::PassTime);
    ~SteppedClock();
    SteppedClock(const SteppedClock&) = delete;
    SteppedClock& operator=(const SteppedClock&) = delete;

    /**
     * Calls `hook` after each sleep, on the thread that slept, with the number of
     * sleeps begun so far: so a test can act between two sleeps. To be set before
     * the first sleep.
     */
    void onSleep(std::function<void(size_t)> hook);

    /** Lets time pass: sleeps that are over return, timers that are due become readable. Any thread. */
    void advance(Time time);

    /** Blocks until `count` sleeps and armed timers at least wait for time to pass. Any thread. */
    void awaitPending(size_t count);

    Time now() const;

    /** The length of each sleep so far, in the order in which they began. */
    std::vector<Time> sleeps() const;

    /** For the wrapped calls: sleeps `time`. */
    void sleep(Time time);

    /** For the wrapped calls: arms the timer `fd`, or disarms it (0), and tells what it had left. */
    int setTimer(int fd, Time time, Time& left);

    /** For the wrapped calls: the descriptor is about to be closed. */
    void dropTimer(int fd);

  private:
    /** Sleeps and returns what is to be called then, with the number of sleeps so far. */
    std::function<void(size_t)> passSleep(Time time, size_t& count);
    void advanceLocked(Time time) REQUIRES(mutex_);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    const Sleeps sleepsMode_;
    Time now_ GUARDED_BY(mutex_){0};
    std::vector<Time> sleeps_ GUARDED_BY(mutex_);
    std::multiset<Time> sleepers_ GUARDED_BY(mutex_);  // when each waiting sleep is over
    std::map<int, Time> timers_ GUARDED_BY(mutex_);    // when each armed timer is due
    std::function<void(size_t)> hook_ GUARDED_BY(mutex_);
};

}  // namespace hidlaudio::host
