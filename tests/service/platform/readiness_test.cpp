// SPDX-License-Identifier: Apache-2.0
#include "platform/readiness.h"

#include <gtest/gtest.h>

#include "host/kernel/clock/clock.h"
#include "host/kernel/log.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::platform;
using host::SteppedClock;

constexpr DtvSvcWait kLoud{"Loud", 100, "waiting ", "ready ", -1, ANDROID_LOG_DEBUG, "too late"};
constexpr DtvSvcWait kQuiet{"Quiet", 10, nullptr, nullptr, -5, ANDROID_LOG_ERROR, "too late"};

TEST(Readiness, WaitEndsWithTheMarkerOrAfter20Seconds) {
    for (const DtvSvcWait& wait : {kLoud, kQuiet}) {
        const auto limit = static_cast<size_t>(20000 / wait.interval);
        // A marker that is created during the last sleep comes too late.
        for (const size_t sleeps : {size_t{0}, size_t{37}, limit - 1, limit}) {
            SCOPED_TRACE(wait.tag + std::to_string(sleeps));
            const PrivateTv tv{"data/vendor/tmp"};
            const host::LogCapture log;
            SteppedClock clock;
            const auto makeMarker = [&](size_t count) {
                if (count == sleeps) makeFile(tv / "data/vendor/tmp/dtv_svc_is_ready");
            };
            clock.onSleep(makeMarker);
            makeMarker(0);
            EXPECT_EQ(waitForDtvSvc(wait), sleeps < limit ? 0 : wait.timeoutResult);
            EXPECT_EQ(clock.sleeps(),
                      std::vector<SteppedClock::Time>(sleeps, std::chrono::milliseconds(wait.interval)));
            const size_t tries = wait.waiting != nullptr ? sleeps : 0;
            const size_t ends = sleeps == limit || wait.ready != nullptr ? 1 : 0;
            EXPECT_EQ(log.lines().size(), tries + ends);
        }
    }
}

}  // namespace
}  // namespace hidlaudio::test
