// SPDX-License-Identifier: Apache-2.0
#include "platform/middleware_session.h"

#include <gtest/gtest.h>

#include <tuple>

#include "host/kernel/log.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::platform;

// Those that open more than the connection, and what besides.
const std::tuple<MiddlewareUser, std::string, std::string> kUsers[] = {
    {MiddlewareUser::HdmiAudio, "IMtkPb_Ctrl_Init", "MTAL_InitExCb"},
    {MiddlewareUser::OutputExternal, "IMtkPb_Ctrl_Init", "MTAL_InitExCb"},
    {MiddlewareUser::OutputSpeaker, "IMtkPb_Ctrl_Init", "MTAL_InitExCb"},
    {MiddlewareUser::CenterSpeaker, "DRV_Init", "MTAL_Init"},
    {MiddlewareUser::IsBeModel, "DRV_Init", "MTAL_Init"},
    {MiddlewareUser::IsBeModelForHV, "DRV_Init", "MTAL_Init"},
};

// What each logs where it cannot be opened shows in the tests of the users.
TEST(MiddlewareSession, OpensWhatTheUserNeedsBesides) {
    const host::LogCapture log;
    for (const auto& [user, besides, connection] : kUsers) {
        SCOPED_TRACE(static_cast<int>(user));
        const PrivateTv tv{"soc/faults"};
        // A fault for one call is gone once its function was called.
        makeFile(tv / "soc/faults/" + besides, "-12 1\n");
        EXPECT_EQ(openMiddleware(user), 0) << "it may fail without harm";
        EXPECT_EQ(contentOf(tv / "soc/faults/" + besides), "(none)");
        makeFile(tv / "soc/faults/" + connection, "-12 1\n");
        EXPECT_EQ(openMiddleware(user), -12);
    }
}

}  // namespace
}  // namespace hidlaudio::test
