// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <time.h>

#include <chrono>

namespace hidlaudio::host {

/**
 * The calls that take time, on the clock that is set. Results and errno as those
 * of nanosleep, timerfd_settime and close.
 */
int sleepOnClock(const timespec* request, timespec* remainder);
int setTimerOnClock(int fd, int flags, const itimerspec* value, itimerspec* old);
void dropTimerOnClock(int fd);

/** A moment of the program's time. */
struct ClockStart {
    std::chrono::nanoseconds stepped{0};
    std::chrono::steady_clock::time_point real;
};

ClockStart startOnClock();

/** How much of the program's time has passed since, at the speed that is set now. */
std::chrono::nanoseconds elapsedOnClock(const ClockStart& start);

/** The timeout to give to the real epoll_wait, in milliseconds. */
int timeoutOnClock(int timeout);

class SteppedClock;

/** Makes `clock` the program's, or the real one again (null). Returns the one before. */
SteppedClock* exchangeSteppedClock(SteppedClock* clock);

}  // namespace hidlaudio::host
