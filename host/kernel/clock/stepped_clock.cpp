// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>
#include <stdlib.h>

#include <utility>

#include "clock.h"
#include "clock_calls.h"
#include "host/kernel/calls/real_calls.h"

namespace hidlaudio::host {
namespace {

using Lock = std::lock_guard<std::mutex>;

}  // namespace

SteppedClock::SteppedClock(Sleeps sleeps) : sleepsMode_(sleeps) {
    if (exchangeSteppedClock(this) == nullptr) return;
    fprintf(stderr, "a stepped clock already exists\n");
    abort();
}

SteppedClock::~SteppedClock() {
    exchangeSteppedClock(nullptr);
}

void SteppedClock::onSleep(std::function<void(size_t)> hook) {
    const Lock lock(mutex_);
    hook_ = std::move(hook);
}

void SteppedClock::advance(Time time) {
    const Lock lock(mutex_);
    advanceLocked(time);
}

void SteppedClock::advanceLocked(Time time) {
    now_ += time;
    sleepers_.erase(sleepers_.begin(), sleepers_.upper_bound(now_));
    for (auto timer = timers_.begin(); timer != timers_.end();) {
        if (timer->second > now_) {
            ++timer;
            continue;
        }
        const itimerspec atOnce{{}, {0, 1}};
        __real_timerfd_settime(timer->first, 0, &atOnce, nullptr);
        timer = timers_.erase(timer);
    }
    changed_.notify_all();
}

void SteppedClock::awaitPending(size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    const android::base::ScopedLockAssertion held(mutex_);
    changed_.wait(lock, [&]() REQUIRES(mutex_) { return sleepers_.size() + timers_.size() >= count; });
}

SteppedClock::Time SteppedClock::now() const {
    const Lock lock(mutex_);
    return now_;
}

std::vector<SteppedClock::Time> SteppedClock::sleeps() const {
    const Lock lock(mutex_);
    return sleeps_;
}

void SteppedClock::sleep(Time time) {
    size_t count = 0;
    const auto hook = passSleep(time, count);
    if (hook) hook(count);
}

std::function<void(size_t)> SteppedClock::passSleep(Time time, size_t& count) {
    std::unique_lock<std::mutex> lock(mutex_);
    const android::base::ScopedLockAssertion held(mutex_);
    sleeps_.push_back(time);
    count = sleeps_.size();
    const Time end = now_ + time;
    if (sleepsMode_ == Sleeps::PassTime) {
        advanceLocked(time);
    } else if (end > now_) {
        sleepers_.insert(end);
        changed_.notify_all();
        changed_.wait(lock, [&]() REQUIRES(mutex_) { return now_ >= end; });
    }
    return hook_;
}

int SteppedClock::setTimer(int fd, Time time, Time& left) {
    const Lock lock(mutex_);
    const itimerspec disarmed{};
    if (__real_timerfd_settime(fd, 0, &disarmed, nullptr) != 0) return -1;
    const auto before = timers_.find(fd);
    left = before != timers_.end() ? before->second - now_ : Time(0);
    if (before != timers_.end()) timers_.erase(before);
    if (time > Time(0)) timers_[fd] = now_ + time;
    changed_.notify_all();
    return 0;
}

void SteppedClock::dropTimer(int fd) {
    const Lock lock(mutex_);
    timers_.erase(fd);
}

}  // namespace hidlaudio::host
