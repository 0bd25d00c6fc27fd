// SPDX-License-Identifier: Apache-2.0
#include "clock.h"

#include <errno.h>
#include <sched.h>

#include <algorithm>
#include <atomic>

#include "clock_calls.h"
#include "host/kernel/calls/real_calls.h"

namespace hidlaudio::host {
namespace {

using Time = SteppedClock::Time;

constexpr long kSecond = 1000000000;
/** In seconds; about 30 years. Longer times and invalid times go unchanged to the real call. */
constexpr time_t kLongest = 1000000000;

std::atomic<unsigned> speed{1};
std::atomic<SteppedClock*> stepped{nullptr};
/** The number of calls that may be inside the stepped clock. */
std::atomic<int> users{0};

/**
 * The stepped clock for the length of one call, or `nullptr`. exchangeSteppedClock() waits until it is gone:
 * a driver's thread may still be closing its timer when the test's clock is destroyed.
 */
class SteppedUse {
  public:
    SteppedUse() {
        if (stepped == nullptr) return;
        ++users;
        clock_ = stepped;
        if (clock_ == nullptr) --users;
    }
    ~SteppedUse() {
        if (clock_ != nullptr) --users;
    }
    SteppedUse(const SteppedUse&) = delete;
    SteppedUse& operator=(const SteppedUse&) = delete;

    explicit operator bool() const { return clock_ != nullptr; }
    SteppedClock* operator->() const { return clock_; }
    SteppedClock& operator*() const { return *clock_; }

  private:
    SteppedClock* clock_ = nullptr;
};

bool isUsual(const timespec& time) {
    return time.tv_sec >= 0 && time.tv_sec <= kLongest && time.tv_nsec >= 0 && time.tv_nsec < kSecond;
}

Time toTime(const timespec& time) {
    return std::chrono::seconds(time.tv_sec) + Time(time.tv_nsec);
}

/** Divides a time, rounding up: a timer that is set to 0 would be disarmed. */
timespec faster(const timespec& time, unsigned times) {
    return toTimespec((toTime(time) + Time(times - 1)) / times);
}

timespec slower(const timespec& time, unsigned times) {
    return toTimespec(toTime(time) * times);
}

int setSteppedTimer(SteppedClock& clock, int fd, const itimerspec& value, itimerspec* old) {
    if (toTime(value.it_interval) != Time(0)) {
        errno = EINVAL;
        return -1;
    }
    Time left{0};
    if (clock.setTimer(fd, toTime(value.it_value), left) != 0) return -1;
    if (old != nullptr) *old = itimerspec{{}, toTimespec(left)};
    return 0;
}

int setFasterTimer(int fd, const itimerspec& value, itimerspec* old) {
    const unsigned times = speed;
    const itimerspec real{faster(value.it_interval, times), faster(value.it_value, times)};
    const int result = __real_timerfd_settime(fd, 0, &real, old);
    if (result == 0 && old != nullptr) {
        *old = {slower(old->it_interval, times), slower(old->it_value, times)};
    }
    return result;
}

}  // namespace

bool setClockSpeed(unsigned times) {
    if (times < 1 || times > kFastestClock) return false;
    speed = times;
    return true;
}

SteppedClock* exchangeSteppedClock(SteppedClock* clock) {
    SteppedClock* const previous = stepped.exchange(clock);
    while (clock == nullptr && users != 0) sched_yield();
    return previous;
}

int sleepOnClock(const timespec* request, timespec* remainder) {
    const SteppedUse steps;
    const unsigned times = speed;
    if (request == nullptr || !isUsual(*request) || (!steps && times == 1)) {
        return __real_nanosleep(request, remainder);
    }
    if (steps) {
        steps->sleep(toTime(*request));
        return 0;
    }
    const timespec real = faster(*request, times);
    const int result = __real_nanosleep(&real, remainder);
    if (result != 0 && remainder != nullptr) *remainder = slower(*remainder, times);
    return result;
}

int setTimerOnClock(int fd, int flags, const itimerspec* value, itimerspec* old) {
    const SteppedUse steps;
    if (value == nullptr || !isUsual(value->it_value) || !isUsual(value->it_interval) ||
        (!steps && speed == 1)) {
        return __real_timerfd_settime(fd, flags, value, old);
    }
    if (flags != 0) {
        errno = EINVAL;
        return -1;
    }
    return steps ? setSteppedTimer(*steps, fd, *value, old) : setFasterTimer(fd, *value, old);
}

void dropTimerOnClock(int fd) {
    const SteppedUse steps;
    if (steps) steps->dropTimer(fd);
}

timespec toTimespec(Time time) {
    timespec result{};
    result.tv_sec = static_cast<time_t>(time.count() / kSecond);
    result.tv_nsec = static_cast<long>(time.count() % kSecond);
    return result;
}

ClockStart startOnClock() {
    const SteppedUse steps;
    return {steps ? steps->now() : Time(0), std::chrono::steady_clock::now()};
}

Time elapsedOnClock(const ClockStart& start) {
    const SteppedUse steps;
    if (steps) return steps->now() - start.stepped;
    return (std::chrono::steady_clock::now() - start.real) * speed.load();
}

int timeoutOnClock(int timeout) {
    if (timeout <= 0) return timeout;
    return std::max(1, static_cast<int>(static_cast<unsigned>(timeout) / speed));
}

}  // namespace hidlaudio::host
