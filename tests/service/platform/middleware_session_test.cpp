// SPDX-License-Identifier: Apache-2.0
#include "platform/middleware_session.h"

#include <gtest/gtest.h>

#include <tuple>

#include "host/kernel/log.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::platform;

// Users that call a second init function, that function, and the function that opens the connection.
const std::tuple<MiddlewareUser, std::string, std::string> kUsers[] = {
    {MiddlewareUser::HdmiAudio, "IMtkPb_Ctrl_Init", "MTAL_InitExCb"},
    {MiddlewareUser::OutputExternal, "IMtkPb_Ctrl_Init", "MTAL_InitExCb"},
    {MiddlewareUser::OutputSpeaker, "IMtkPb_Ctrl_Init", "MTAL_InitExCb"},
    {MiddlewareUser::CenterSpeaker, "DRV_Init", "MTAL_Init"},
    {MiddlewareUser::IsBeModel, "DRV_Init", "MTAL_Init"},
    {MiddlewareUser::IsBeModelForHV, "DRV_Init", "MTAL_Init"},
};

// The tests of the users check the log messages of a failed opening.
TEST(MiddlewareSession, CallsInitFunctionsOfUser) {
    const host::LogCapture log;
    for (const auto& [user, initFunction, connection] : kUsers) {
        SCOPED_TRACE(static_cast<int>(user));
        const PrivateTv tv{"soc/faults"};
        // The fault file is deleted when the function is called.
        makeFile(tv / "soc/faults/" + initFunction, "-12 1\n");
        EXPECT_EQ(openMiddleware(user), 0) << "the result of this function is ignored";
        EXPECT_EQ(contentOf(tv / "soc/faults/" + initFunction), "(none)");
        makeFile(tv / "soc/faults/" + connection, "-12 1\n");
        EXPECT_EQ(openMiddleware(user), -12);
    }
}

}  // namespace
}  // namespace hidlaudio::test
