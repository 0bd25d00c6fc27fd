// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <time.h>

#include <chrono>

namespace hidlaudio::host {

/** nanosleep() and timerfd_settime() on the program's clock, with the same results and errno. */
int sleepOnClock(const timespec* request, timespec* remainder);
int setTimerOnClock(int fd, int flags, const itimerspec* value, itimerspec* old);

/** Removes `fd` from the stepped clock, if there is one. Call it before closing a descriptor. */
void dropTimerOnClock(int fd);

/** Converts a time that is not negative. */
timespec toTimespec(std::chrono::nanoseconds time);

/** A point in the program's time. */
struct ClockStart {
    std::chrono::nanoseconds stepped{0};
    std::chrono::steady_clock::time_point real;
};

ClockStart startOnClock();

/** Returns how much of the program's time has passed since `start`, computed with the current speed. */
std::chrono::nanoseconds elapsedOnClock(const ClockStart& start);

/** Converts a time-out of epoll_wait() in milliseconds to real time. Keeps 0 and negative values. */
int timeoutOnClock(int timeout);

class SteppedClock;

/** Installs `clock`, or real time if it is `nullptr`. Returns the previous stepped clock, or `nullptr`. */
SteppedClock* exchangeSteppedClock(SteppedClock* clock);

}  // namespace hidlaudio::host
