// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hardware_legacy/power.h>

#include <thread>

#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

TEST(WakeLock, AcquiringTwiceHoldsLockOnce) {
    const PrivateTv tv{"power"};
    const std::string file = tv / "power/wake_lock";
    const auto acquire = [](const char* id) { return acquire_wake_lock(PARTIAL_WAKE_LOCK, id); };
    EXPECT_EQ(acquire("HidlAudioDevice"), 15);
    EXPECT_EQ(acquire("HidlAudioDevice"), 15);
    EXPECT_EQ(acquire("HidlAudio"), 9);
    EXPECT_EQ(contentOf(file), "HidlAudioDevice\nHidlAudio\n");
    EXPECT_EQ(release_wake_lock("HidlAudioDevice"), 15);
    EXPECT_EQ(release_wake_lock("HidlAudioDevice"), 15);
    EXPECT_EQ(contentOf(file), "HidlAudio\n");

    const std::string longName(256, 'x');
    for (const char* wrong : {static_cast<const char*>(nullptr), "", "two\nlines", longName.c_str()}) {
        EXPECT_EQ(acquire(wrong), -EINVAL);
        EXPECT_EQ(release_wake_lock(wrong), -EINVAL);
    }
    EXPECT_EQ(contentOf(file), "HidlAudio\n");
    std::filesystem::remove_all(tv / "power");
    EXPECT_EQ(acquire("x"), -ENOENT);
    EXPECT_EQ(release_wake_lock("x"), -ENOENT);
}

TEST(WakeLock, ConcurrentChangesAreAllKept) {
    const PrivateTv tv{"power"};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int n = 0; n < 25; ++n) {
                const std::string id = std::to_string(i) + "-" + std::to_string(n);
                EXPECT_GT(acquire_wake_lock(PARTIAL_WAKE_LOCK, id.c_str()), 0);
                if (n % 2 != 0) {
                    EXPECT_GT(release_wake_lock(id.c_str()), 0);
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    const std::string held = contentOf(tv / "power/wake_lock");
    EXPECT_EQ(std::count(held.begin(), held.end(), '\n'), 4 * 13);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(tv / "power"), {}), 1);
}

}  // namespace
}  // namespace hidlaudio::test
