// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IOutputEncodingStatusListener.h>
#include <com/tovi/dtv/hardware/audio/3.1/IOutputExternal.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::V3_1;
using android::sp;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::chrono::seconds kPatience{30};
constexpr char kMainCalled[] = "D HidlAudio: ########## HIDL server side: main() is called:";
constexpr char kOpened[] = "D hidlaudio: OutputExternal mtal open success";

/** Whether the condition comes true; looks again every few milliseconds. */
template <typename Condition>
bool becomesTrue(Condition condition) {
    const auto deadline = steady_clock::now() + kPatience;
    while (!condition()) {
        if (steady_clock::now() > deadline) return false;
        usleep(2000);
    }
    return true;
}

template <typename Interface>
sp<Interface> awaitService() {
    sp<Interface> service;
    EXPECT_TRUE(becomesTrue([&] { return (service = Interface::getService()) != nullptr; }));
    return service;
}

/** What the daemon itself logged, without time and thread: "D HidlAudio: text". */
std::vector<std::string> logOf(const RunningProgram& daemon) {
    std::istringstream log(daemon.err());
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);) {
        std::istringstream fields(line);
        for (int i = 0; i < 4; ++i) fields >> line;
        std::getline(fields >> std::ws, line);
        if (std::string tag = line.substr(2, 10); tag == "HidlAudio:" || tag == "hidlaudio:")
            lines.push_back(line);
    }
    return lines;
}

class Daemon : public testing::Test {
  protected:
    void switchTvOn() { makeFile(tv_ / "data/vendor/tmp/dtv_svc_is_ready"); }

    PrivateTv tv_{"data/vendor/tmp", "data/vendor/tovi/hidlaudio", "soc/config", "soc/faults"};
};

TEST_F(Daemon, KeepsASettingThroughAKill) {
    switchTvOn();
    {
        const RunningProgram daemon({DAEMON});
        const auto service = awaitService<IOutputExternal>();
        EXPECT_THAT(logOf(daemon), ElementsAre(kMainCalled, kOpened, HasSubstr("prev setting not exist.")));
        EXPECT_TRUE(service->getForceEncodingEnabled());
        EXPECT_EQ(service->setForceEncodingEnabled(false), 0);
        EXPECT_TRUE(awaitService<IOutputEncodingStatusListener>()->onForceEncodingChanged(false).isOk());
        EXPECT_EQ(logOf(daemon).back(), "D hidlaudio: [onForceEncodingChanged] start");
    }
    EXPECT_EQ(IOutputExternal::getService(), nullptr);
    makeFile(tv_ / "soc/config/g_audio__bitstream_output_mode", "0\n");
    const RunningProgram daemon({DAEMON});
    EXPECT_FALSE(awaitService<IOutputExternal>()->getForceEncodingEnabled());
}

TEST_F(Daemon, ServesOnlyOnceTheTvIsReady) {
    const RunningProgram daemon({DAEMON});
    EXPECT_TRUE(
        becomesTrue([&] { return daemon.err().find("waiting dtv_svc>>>>> count:3") != std::string::npos; }));
    EXPECT_EQ(IOutputEncodingStatusListener::getService(), nullptr);
    switchTvOn();
    EXPECT_TRUE(awaitService<IOutputExternal>()->getForceEncodingEnabled());
}

TEST_F(Daemon, ServesATvThatNeverGetsReady) {
    const RunningProgram daemon({DAEMON}, {"HIDLAUDIO_CLOCK=10000"});
    EXPECT_TRUE(awaitService<IOutputExternal>()->getForceEncodingEnabled());
    const std::vector<std::string> log = logOf(daemon);
    ASSERT_GT(log.size(), 2003U);
    EXPECT_EQ(log[1], "D hidlaudio: <<<<<hidlaudio waiting dtv_svc>>>>> count:0");
    EXPECT_EQ(log[2000], "D hidlaudio: <<<<<hidlaudio waiting dtv_svc>>>>> count:1999");
    EXPECT_EQ(log[2001], "D hidlaudio: dtv_svc rpc server failed.");
    EXPECT_EQ(log[2002], kOpened);
}

TEST_F(Daemon, EndsWhereItCannotRegister) {
    switchTvOn();
    const auto lastLine = [] {
        RunningProgram daemon({DAEMON});
        const bool ended = becomesTrue([&] {
            siginfo_t state{};
            waitid(P_PID, static_cast<id_t>(daemon.pid()), &state, WEXITED | WNOHANG | WNOWAIT);
            return state.si_pid != 0;
        });
        EXPECT_TRUE(ended && daemon.wait() == 1);
        return logOf(daemon).back();
    };
    const std::string registry = tv_ / "run/hwbinder";
    const std::string package = registry + "/com.tovi.dtv.hardware.audio@3.1::";
    makeFile(registry);
    EXPECT_EQ(lastLine(),
              "E HidlAudio: ########## HIDL OutputEncodingStatusListener server side: "
              "registerAsService() is failed:");
    std::filesystem::remove(registry);
    std::filesystem::create_directories(package + "IOutputExternal~default/in the way");
    EXPECT_EQ(lastLine(),
              "E HidlAudio: ########## HIDL OutputExternal server side: registerAsService() is failed:");
    EXPECT_THAT(contentOf(package + "IOutputEncodingStatusListener~default"), HasSubstr("pid "))
        << "what was registered before stays";
}

}  // namespace
}  // namespace hidlaudio::test
