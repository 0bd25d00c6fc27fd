// SPDX-License-Identifier: Apache-2.0
#include "platform/middleware_session.h"

#include <gtest/gtest.h>

#include "host/kernel/log.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::platform;
using Calls = std::vector<std::string>;

const Calls kWithPlayback{"IMtkPb_Ctrl_Init", "MTAL_InitExCb"};
const Calls kWithDrivers{"DRV_Init", "MTAL_Init"};
const Calls kAlone{"MTAL_InitExCb"};

const std::pair<MiddlewareUser, const Calls&> kUsers[] = {
    {MiddlewareUser::HdmiAudio, kWithPlayback},     {MiddlewareUser::OutputExternal, kWithPlayback},
    {MiddlewareUser::OutputSpeaker, kWithPlayback}, {MiddlewareUser::CenterSpeaker, kWithDrivers},
    {MiddlewareUser::IsBeModel, kWithDrivers},      {MiddlewareUser::IsBeModelForHV, kWithDrivers},
    {MiddlewareUser::CheckBeCtrlBoot, kAlone},      {MiddlewareUser::SetCalibratedDataToBeCtrl, kAlone},
    {MiddlewareUser::CheckBeCtrlBootForHV, kAlone}, {MiddlewareUser::SetEnabledToBeCtrl, kAlone},
};

// What each logs where it cannot be opened shows in the tests of the users.
TEST(MiddlewareSession, EachUserOpensInItsOwnWay) {
    const host::LogCapture log;
    for (const auto& [user, calls] : kUsers) {
        SCOPED_TRACE(static_cast<int>(user));
        const PrivateTv tv{"soc/faults"};
        // A fault for one call is gone once its function was called.
        const Calls all{"DRV_Init", "IMtkPb_Ctrl_Init", "MTAL_Init", "MTAL_InitExCb"};
        for (const std::string& call : all) makeFile(tv / "soc/faults/" + call, "-12 1\n");
        EXPECT_EQ(openMiddleware(user), -12);
        Calls called;
        for (const std::string& call : all) {
            if (!std::filesystem::remove(tv / "soc/faults/" + call)) called.push_back(call);
        }
        EXPECT_EQ(called, calls);

        // What is opened along with the connection may fail without harm.
        if (calls.size() > 1) makeFile(tv / "soc/faults/" + calls[0], "-12\n");
        EXPECT_EQ(openMiddleware(user), 0);
    }
}

}  // namespace
}  // namespace hidlaudio::test
