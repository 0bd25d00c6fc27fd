// SPDX-License-Identifier: Apache-2.0
#include "host/kernel/clock/clock.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <chrono>

namespace hidlaudio::test {
namespace {

using host::setClockSpeed;
using std::chrono::steady_clock;
using namespace std::chrono_literals;

TEST(ScaledClock, MakesSleepsAndTimersFaster) {
    ASSERT_TRUE(setClockSpeed(std::string_view("5000")));
    const auto start = steady_clock::now();
    const timespec request{20, 0};
    EXPECT_EQ(nanosleep(&request, nullptr), 0);
    EXPECT_EQ(usleep(20000000), 0);
    const int timer = timerfd_create(CLOCK_MONOTONIC, 0);
    const int epoll = epoll_create1(0);
    epoll_event event{EPOLLIN, {}};
    ASSERT_EQ(epoll_ctl(epoll, EPOLL_CTL_ADD, timer, &event), 0);
    const itimerspec twenty{{}, {20, 0}};
    ASSERT_EQ(timerfd_settime(timer, 0, &twenty, nullptr), 0);
    EXPECT_EQ(epoll_wait(epoll, &event, 1, -1), 1);
    close(timer);
    EXPECT_EQ(epoll_wait(epoll, &event, 1, 20000), 0);
    close(epoll);
    const auto passed = steady_clock::now() - start;
    EXPECT_GE(passed, 16ms);
    EXPECT_LT(passed, 20s);
}

TEST(ScaledClock, InterruptedSleepReturnsRemainingTime) {
    struct sigaction action{};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    // The timer repeats, because its first signal may come before the sleep begins.
    const itimerval every10ms{{0, 10000}, {0, 10000}}, off{};
    setClockSpeed(10U);
    setitimer(ITIMER_REAL, &every10ms, nullptr);
    const timespec request{1000, 0};
    timespec left{};
    EXPECT_EQ(nanosleep(&request, &left), -1);
    EXPECT_EQ(errno, EINTR);
    setitimer(ITIMER_REAL, &off, nullptr);
    // Without conversion to the program's time, less than 100 s would remain.
    EXPECT_GT(left.tv_sec, 500);
    EXPECT_LT(left.tv_sec, 1000);
}

}  // namespace
}  // namespace hidlaudio::test
