// SPDX-License-Identifier: Apache-2.0
#include "host/kernel/clock/clock.h"

#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace hidlaudio::test {
namespace {

using host::setClockSpeed;
using std::chrono::steady_clock;
using namespace std::chrono_literals;

TEST(ScaledClock, MakesSleepsAndTimersFaster) {
    ASSERT_TRUE(setClockSpeed(5000));
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

TEST(SteppedClock, EndsWhileAThreadClosesItsTimer) {
    std::atomic<bool> done{false};
    std::thread driver([&] {
        while (!done) {
            const int timer = timerfd_create(CLOCK_MONOTONIC, 0);
            const itimerspec second{{}, {1, 0}};
            EXPECT_EQ(timerfd_settime(timer, 0, &second, nullptr), 0);
            close(timer);
        }
    });
    for (int i = 0; i < 2000; ++i) {
        host::SteppedClock clock;
        clock.advance(1s);
    }
    done = true;
    driver.join();
}

}  // namespace
}  // namespace hidlaudio::test
