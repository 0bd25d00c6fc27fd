// SPDX-License-Identifier: Apache-2.0
#include "platform/middleware_session.h"

#include <android/log.h>
#include <gtest/gtest.h>

#include <tuple>

#include "host/kernel/log.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::platform;

const std::tuple<MiddlewareSession, std::string, std::string> kSessions[] = {
    {MiddlewareSession::PlaybackControl, "IMtkPb_Ctrl_Init", "MTAL_InitExCb"},
    {MiddlewareSession::Drivers, "DRV_Init", "MTAL_Init"},
};

TEST(MiddlewareSession, StatusIsThatOfTheConnection) {
    for (const auto& [session, first, connection] : kSessions) {
        const MiddlewareOpening opening{session, "Tag", "failed: ", "!", "open"};
        const host::LogCapture log;
        const PrivateTv tv{"soc/faults"};
        // A fault for one call is removed when its function was called.
        makeFile(tv / "soc/faults/" + first, "-12 1\n");
        EXPECT_EQ(openMiddleware(opening), 0) << first << " may fail";
        EXPECT_EQ(contentOf(tv / "soc/faults/" + first), "(none)");
        makeFile(tv / "soc/faults/" + connection, "-12 1\n");
        EXPECT_EQ(openMiddleware(opening), -12);
        EXPECT_EQ(log.lines(), (std::vector<host::LogLine>{{ANDROID_LOG_DEBUG, "Tag", "open"},
                                                           {ANDROID_LOG_ERROR, "Tag", "failed: -12!"}}));
    }
}

}  // namespace
}  // namespace hidlaudio::test
