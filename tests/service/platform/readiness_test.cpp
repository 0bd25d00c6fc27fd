// SPDX-License-Identifier: Apache-2.0
#include "platform/readiness.h"

#include <android/log.h>
#include <gtest/gtest.h>

#include "host/kernel/clock/clock.h"
#include "host/kernel/log.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::platform;
using host::LogLine;
using host::SteppedClock;

constexpr char kNoTagOfItsOwn[] = "platform_test";
constexpr char kTries[] = "<<<<<hidlaudio waiting dtv_svc>>>>> count:";
constexpr char kReady[] = "<<<<<hidlaudio dtv_svc is ready !>>>>> count:";
constexpr int kDebug = ANDROID_LOG_DEBUG;
constexpr int kError = ANDROID_LOG_ERROR;

template <WaitingService service>
int32_t wait() {
    return waitForDtvSvc(service) ? 0 : -1;
}

struct Waiter {
    int32_t (*wait)();
    size_t limit;
    long interval;  // in milliseconds
    int32_t timeoutResult;
    int timeoutPriority;
    std::string tag;
    std::string tries;  // empty: not logged
    std::string ready;
    std::string timeout;
};

const Waiter kWaiters[] = {
    {wait<WaitingService::HdmiAudio>, 200, 100, -1, kDebug, "hdmiaudio",
     "<<<<<hdmiaudio waiting dtv_svc>>>>> count:", "", "dtv_svc rpc server failed."},
    {wait<WaitingService::OutputExternal>, 2000, 10, -1, kDebug, kNoTagOfItsOwn, kTries, "",
     "dtv_svc rpc server failed."},
    {wait<WaitingService::OutputSpeaker>, 2000, 10, -1, kDebug, "AudioOutSp", kTries, "",
     "dtv_svc rpc server failed."},
    {wait<WaitingService::CenterSpeaker>, 2000, 10, -1, kError, kNoTagOfItsOwn, kTries, kReady,
     "[CenterSpeaker] dtv_svc rpc server failed [TimeOut]."},
    {checkDtvSvcBoot, 2000, 10, -1, kError, "AudioAC", "", kReady,
     "[checkDtvSvcBoot] dtv_svc rpc server failed [TimeOut]."},
    {checkDtvSvcBootForHV, 2000, 10, -5, kError, "AudioHV", "",
     "[checkDtvSvcBootForHV] <<<<<hidlaudio dtv_svc is ready !>>>>> count:",
     "[checkDtvSvcBootForHV] dtv_svc rpc server failed [TimeOut]."},
};

std::vector<LogLine> expectedLog(const Waiter& waiter, size_t sleeps) {
    std::vector<LogLine> lines;
    const auto add = [&](int priority, const std::string& text, size_t count) {
        if (!text.empty()) lines.push_back({priority, waiter.tag, text + std::to_string(count)});
    };
    for (size_t i = 0; i < sleeps; ++i) add(kDebug, waiter.tries, i);
    if (sleeps < waiter.limit) add(ANDROID_LOG_INFO, waiter.ready, sleeps);
    if (sleeps == waiter.limit) lines.push_back({waiter.timeoutPriority, waiter.tag, waiter.timeout});
    return lines;
}

TEST(Readiness, EachServiceWaitsWithItsOwnLimitAndMessages) {
    for (const Waiter& waiter : kWaiters) {
        // A marker that is created during the last sleep is too late.
        for (const size_t sleeps : {size_t{0}, size_t{37}, waiter.limit - 1, waiter.limit}) {
            SCOPED_TRACE(waiter.tag + " " + waiter.timeout + " " + std::to_string(sleeps));
            const PrivateTv tv{"data/vendor/tmp"};
            const host::LogCapture log;
            SteppedClock clock;
            const auto makeMarker = [&](size_t count) {
                if (count == sleeps) makeFile(tv / "data/vendor/tmp/dtv_svc_is_ready");
            };
            clock.onSleep(makeMarker);
            makeMarker(0);
            EXPECT_EQ(waiter.wait(), sleeps < waiter.limit ? 0 : waiter.timeoutResult);
            EXPECT_EQ(clock.sleeps(),
                      std::vector<SteppedClock::Time>(sleeps, std::chrono::milliseconds(waiter.interval)));
            EXPECT_EQ(log.lines(), expectedLog(waiter, sleeps));
        }
    }
}

}  // namespace
}  // namespace hidlaudio::test
