// SPDX-License-Identifier: Apache-2.0
#include <android/hardware/audio/5.0/IDevicesFactory.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>
#include <com/tovi/dtv/hardware/audio/3.1/IOutputEncodingStatusListener.h>
#include <com/tovi/dtv/hardware/audio/3.1/IOutputExternal.h>
#include <com/tovi/dtv/hardware/audio/4.0/ICenterSpeaker.h>
#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>
#include <com/tovi/dtv/hardware/audio/6.1/IOutputSpeaker.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl/ServiceManagement.h>

#include <chrono>
#include <future>
#include <sstream>

#include "tests/support/becomes_true.h"
#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio;
using namespace com::tovi::dtv::hardware::audio::V3_1;
using namespace std::chrono_literals;
using android::hardware::audio::V5_0::IDevicesFactory;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kMicrophone[] = "AUDIO_DEVICE_IN_BUILTIN_MIC";

/** The newest interface of each service. */
const std::vector<std::string> kServices = {
    IHdmiAudio::descriptor,
    IOutputEncodingStatusListener::descriptor,
    IOutputExternal::descriptor,
    V6_1::IOutputSpeaker::descriptor,
    V5_1::IAcousticCalibration::descriptor,
    V4_0::ICenterSpeaker::descriptor,
    V6_1::IMicControl::descriptor,
    V5_1::IHeadphoneVirtualizer::descriptor,
};

std::vector<std::string> registeredServices() {
    std::vector<std::string> names;
    const auto keep = [&names](const auto& list) { names.assign(list.begin(), list.end()); };
    EXPECT_TRUE(android::hardware::defaultServiceManager()->list(keep).isOk());
    return names;
}

bool hasLogged(const RunningProgram& daemon, const std::string& text) {
    return becomesTrue([&] { return daemon.err().find(text) != std::string::npos; });
}

class Daemon : public testing::Test {
  protected:
    void switchTvOn() { makeFile(tv_ / "data/vendor/tmp/dtv_svc_is_ready"); }

    /** Writes the TV's manifest. */
    void declare(const std::vector<std::string>& interfaces) const {
        std::string manifest;
        for (const std::string& interface : interfaces) manifest += interface + "/default\n";
        makeFile(tv_ / "manifest", manifest);
    }

    void declareAllAndHal() const {
        std::vector<std::string> interfaces = kServices;
        interfaces.emplace_back(IDevicesFactory::descriptor);
        declare(interfaces);
    }

    PrivateTv tv_{"data/vendor/tmp", "data/vendor/tovi/hidlaudio", "soc/config", "soc/faults"};
};

TEST_F(Daemon, SettingSurvivesKill) {
    switchTvOn();
    {
        const RunningProgram daemon({DAEMON});
        const auto service = awaitService<IOutputExternal>();
        EXPECT_TRUE(service->getForceEncodingEnabled());
        EXPECT_EQ(service->setForceEncodingEnabled(false), 0);
        EXPECT_TRUE(awaitService<IOutputEncodingStatusListener>()->onForceEncodingChanged(false).isOk());
    }
    EXPECT_EQ(IOutputExternal::getService(), nullptr);
    makeFile(tv_ / "soc/config/g_audio__bitstream_output_mode", "0\n");
    const RunningProgram daemon({DAEMON});
    EXPECT_FALSE(awaitService<IOutputExternal>()->getForceEncodingEnabled());
}

TEST_F(Daemon, CalibrationSurvivesKill) {
    switchTvOn();
    makeFile(tv_ / "soc/eeprom.bin", std::string(0x1001B, '\0'));
    makeFile(tv_ / "soc/audio_post/ready", "1\n");
    const std::string offset = tv_ / "soc/audio_decoder/volume_offset";
    makeFile(offset);
    makeFile(tv_ / "hal/parameters/ac_offset");
    const RunningProgram hal({AUDIO_HAL});
    awaitService<IDevicesFactory>();
    {
        const RunningProgram daemon({DAEMON});
        // A client of the oldest interface version reaches the same object.
        const auto service = awaitService<V3_0::IAcousticCalibration>();
        EXPECT_EQ(service->setCalibratedData({{"FL", {}, 2.35F, 0}}), 0);
        EXPECT_EQ(contentOf(offset), "0\n");
        EXPECT_EQ(service->setEnabled(true), 0);
        EXPECT_EQ(contentOf(offset), "24\n");
    }
    makeFile(offset);
    const RunningProgram daemon({DAEMON});
    EXPECT_TRUE(awaitService<V5_1::IAcousticCalibration>()->getEnabled());
    EXPECT_EQ(contentOf(offset), "24\n");
    EXPECT_EQ(contentOf(tv_ / "hal/parameters/ac_offset"), "14.350000\n");
}

TEST_F(Daemon, SurvivesDeathOfHal) {
    switchTvOn();
    makeFile(tv_ / "soc/eeprom.bin", std::string(0x1001B, '\0'));
    makeFile(tv_ / "soc/audio_post/ready", "1\n");
    makeFile(tv_ / "soc/audio_decoder/volume_offset");
    makeFile(tv_ / "hal/parameters/builtin_mic_gain", "0.25\n");
    RunningProgram hal({AUDIO_HAL});
    awaitService<IDevicesFactory>();
    const RunningProgram daemon({DAEMON});
    const auto mic = awaitService<V6_1::IMicControl>();
    EXPECT_EQ(mic->getMicGain(kMicrophone), 0.25F);
    kill(hal.pid(), SIGKILL);
    EXPECT_EQ(hal.wait(), 128 + SIGKILL);
    EXPECT_EQ(mic->getMicGain(kMicrophone), 0.0F);
    EXPECT_EQ(mic->setMicGain(kMicrophone, 0.5F), -1);
    EXPECT_EQ(mic->getMicGain(kMicrophone), 0.0F) << "a second call fails, too";
    EXPECT_EQ(awaitService<V6_1::IOutputSpeaker>()->setTvPosition(1), 0);
    EXPECT_EQ(contentOf(tv_ / "soc/config/g_audio__tv_position"), "1\n");
    EXPECT_EQ(awaitService<V5_1::IAcousticCalibration>()->setEnabled(false), 0);
}

constexpr char kWaitsForHal[] =
    "W HidlServiceManagement: Waited one second for android.hardware.audio@5.0::IDevicesFactory/default";

TEST_F(Daemon, ServesOneCallAtATimeIfHalStartsLate) {
    switchTvOn();
    declareAllAndHal();
    makeFile(tv_ / "hal/parameters/builtin_mic_gain");
    const RunningProgram daemon({DAEMON});
    ASSERT_TRUE(hasLogged(daemon, kWaitsForHal));
    const RunningProgram hal({AUDIO_HAL});
    const auto mic = awaitService<V6_1::IMicControl>();
    const auto external = awaitService<IOutputExternal>();
    kill(hal.pid(), SIGSTOP);
    auto blocked = std::async(std::launch::async, [&] { return mic->setMicGain(kMicrophone, 0.5F) == 0; });
    EXPECT_TRUE(hasLogged(daemon, "[setMicGain] start"));
    auto other = std::async(std::launch::async, [&] { return bool{external->getForceEncodingEnabled()}; });
    EXPECT_EQ(other.wait_for(200ms), std::future_status::timeout) << "the call was served by another thread";
    kill(hal.pid(), SIGCONT);
    EXPECT_TRUE(blocked.get());
    EXPECT_TRUE(other.get());
}

TEST_F(Daemon, RegistersNothingWhileWaitingForDeclaredHal) {
    switchTvOn();
    declareAllAndHal();
    RunningProgram daemon({DAEMON});
    EXPECT_TRUE(hasLogged(daemon, kWaitsForHal));
    EXPECT_THAT(registeredServices(), IsEmpty());
    kill(daemon.pid(), SIGTERM);
    EXPECT_EQ(daemon.wait(), 128 + SIGTERM);
}

TEST_F(Daemon, ServesOtherRequestsIfHalIsUndeclared) {
    switchTvOn();
    declare(kServices);
    EXPECT_EQ(RunningProgram({AUDIO_HAL}).wait(), 1) << "the HAL cannot be registered";
    const RunningProgram daemon({DAEMON});
    EXPECT_EQ(awaitService<V6_1::IMicControl>()->setMicGain(kMicrophone, 0.5F), -1);
    EXPECT_TRUE(awaitService<IOutputExternal>()->getForceEncodingEnabled());
    const std::vector<std::string> registered = registeredServices();
    for (const std::string& interface : kServices) EXPECT_THAT(registered, Contains(interface + "/default"));
}

TEST_F(Daemon, RegistersOnlyAfterTvIsReady) {
    const RunningProgram daemon({DAEMON});
    EXPECT_TRUE(hasLogged(daemon, "waiting dtv_svc>>>>> count:3"));
    EXPECT_EQ(IOutputEncodingStatusListener::getService(), nullptr);
    switchTvOn();
    EXPECT_TRUE(awaitService<IOutputExternal>()->getForceEncodingEnabled());
}

TEST_F(Daemon, RegistersAfterTimeoutIfTvNeverGetsReady) {
    const RunningProgram daemon({DAEMON}, {"HIDLAUDIO_CLOCK=10000"});
    EXPECT_TRUE(awaitService<IOutputExternal>()->getForceEncodingEnabled());
}

TEST_F(Daemon, ExitsIfRegistrationFails) {
    switchTvOn();
    const std::pair<std::string, std::string> failures[] = {
        {IHdmiAudio::descriptor, ""},
        {IOutputEncodingStatusListener::descriptor, "OutputEncodingStatusListener "},
        {IOutputExternal::descriptor, "OutputExternal "},
        {V6_1::IOutputSpeaker::descriptor, "OutputSpeaker "},
        {V5_1::IAcousticCalibration::descriptor, "AcousticCalibration "},
        {V4_0::ICenterSpeaker::descriptor, "CenterSpeaker "},
        {V5_1::IHeadphoneVirtualizer::descriptor, "HeadphoneVirtualizer "},
        {V6_1::IMicControl::descriptor, "MicControl "},
    };
    std::vector<std::string> declared;
    for (const auto& [interface, name] : failures) {
        SCOPED_TRACE(interface);
        declare(declared);
        const Outcome daemon = runProgram({DAEMON});
        EXPECT_EQ(daemon.status, 1);
        EXPECT_THAT(daemon.err, HasSubstr("D HidlAudio: ########## HIDL server side: main() is called:\n"));
        EXPECT_THAT(daemon.err, testing::EndsWith("E HidlAudio: ########## HIDL " + name +
                                                  "server side: registerAsService() is failed:\n"));
        const std::string registered = contentOf(tv_ / "run/hwbinder/services");
        for (const std::string& earlier : declared) {
            EXPECT_THAT(registered, HasSubstr("\n" + earlier + "/default "))
                << "services registered before stay registered";
        }
        declared.push_back(interface);
    }
}

}  // namespace
}  // namespace hidlaudio::test
