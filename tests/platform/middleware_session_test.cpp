// SPDX-License-Identifier: Apache-2.0
#include "platform/middleware_session.h"

#include <android/log.h>
#include <gtest/gtest.h>

#include "host/kernel/log.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::platform;
using Lines = std::vector<host::LogLine>;
using Calls = std::vector<std::string>;

const Calls kWithPlayback{"IMtkPb_Ctrl_Init", "MTAL_InitExCb"};
const Calls kWithDrivers{"DRV_Init", "MTAL_Init"};
const Calls kAlone{"MTAL_InitExCb"};

struct User {
    MiddlewareUser user;
    const Calls& calls;
    std::string tag;
    std::string failure;  // with the status -12; empty: not logged
    std::string success;
};

const User kUsers[] = {
    {MiddlewareUser::HdmiAudio, kWithPlayback, "hdmiaudio", "ERROR: HdmiAudio MTAL_Init.... , r = -12 \n",
     "HdmiAudio mtal open success"},
    {MiddlewareUser::OutputExternal, kWithPlayback, "platform_test",
     "ERROR: OutputExternal MTAL_Init.... , r = -12 \n", "OutputExternal mtal open success"},
    {MiddlewareUser::OutputSpeaker, kWithPlayback, "AudioOutSp",
     "ERROR: OutputSpeaker MTAL_Init.... , r = -12 \n", "OutputSpeaker mtal open success"},
    {MiddlewareUser::CenterSpeaker, kWithDrivers, "platform_test", "[CenterSpeaker] MTAL_Init fail.", ""},
    {MiddlewareUser::IsBeModel, kWithDrivers, "", "", ""},
    {MiddlewareUser::IsBeModelForHV, kWithDrivers, "", "", ""},
    {MiddlewareUser::CheckBeCtrlBoot, kAlone, "AudioAC", "[checkBeCtrlBoot] AC MTAL_Init failed, ret = -12 ",
     ""},
    {MiddlewareUser::SetCalibratedDataToBeCtrl, kAlone, "AudioAC",
     "[setCalibratedDataToBeCtrl] AC MTAL_Init failed, ret = -12 ", ""},
    {MiddlewareUser::CheckBeCtrlBootForHV, kAlone, "AudioHV",
     "[checkBeCtrlBootForHV] HV MTAL_Init failed, Return:-12 ", ""},
    {MiddlewareUser::SetEnabledToBeCtrl, kAlone, "AudioHV",
     "[setEnabledToBeCtrl] HV MTAL_Init failed, Return:-12 ", ""},
};

TEST(MiddlewareSession, EachUserOpensInItsOwnWayAndWords) {
    for (const User& user : kUsers) {
        SCOPED_TRACE(static_cast<int>(user.user));
        const PrivateTv tv{"soc/faults"};
        host::LogCapture log;
        const auto logged = [&](int priority, const std::string& text) {
            return text.empty() ? Lines{} : Lines{{priority, user.tag, text}};
        };
        // A fault for one call is gone once its function was called.
        const Calls all{"DRV_Init", "IMtkPb_Ctrl_Init", "MTAL_Init", "MTAL_InitExCb"};
        for (const std::string& call : all) makeFile(tv / "soc/faults/" + call, "-12 1\n");
        EXPECT_EQ(openMiddleware(user.user), -12);
        EXPECT_EQ(log.take(), logged(ANDROID_LOG_ERROR, user.failure));
        Calls called;
        for (const std::string& call : all) {
            if (!std::filesystem::remove(tv / "soc/faults/" + call)) called.push_back(call);
        }
        EXPECT_EQ(called, user.calls);

        // What is opened along with the connection may fail without harm.
        if (user.calls.size() > 1) makeFile(tv / "soc/faults/" + user.calls[0], "-12\n");
        EXPECT_EQ(openMiddleware(user.user), 0);
        EXPECT_EQ(log.take(), logged(ANDROID_LOG_DEBUG, user.success));
    }
}

}  // namespace
}  // namespace hidlaudio::test
