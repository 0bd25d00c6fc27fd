// SPDX-License-Identifier: Apache-2.0
#include "tests/support/log_contract.h"

#include "mic_control/MicControl.h"
#include "tests/support/fake_hal.h"
#include "tests/support/own_process.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio;

TEST(LogContract, MicControl) {
    const PrivateTv tv{};
    inOwnProcess([&] {
        host::LogCapture log;
        sp<V6_1::IMicControl> service;
        const std::string mic = "AUDIO_DEVICE_IN_BUILTIN_MIC", start = "D [MicControl] start";
        const std::string setting = "D [setMicGain] start micDevice=[" + mic + "] scale=[";
        const auto construct = [&] { service = new V6_1::implementation::MicControl; };
        const auto set = [&](const std::string& device, float scale, int32_t result) -> Action {
            return [=, &service] { EXPECT_EQ(service->setMicGain(device, scale), result); };
        };
        const auto get = [&](const std::string& device, float gain) -> Action {
            return [=, &service] { EXPECT_EQ(service->getMicGain(device), gain); };
        };
        expectLog(
            log, "MicControl",
            {{construct,
              {start, "mic_control_test: E load audio interface failed", "E load audio interface failed"}},
             {set(mic, 0.5F, -1), {setting + "0.500000]", "E PrimaryHAL getService fails"}},
             {get(mic, 0), {"D [getMicGain] start", "D [getMicGain] end:scale = 0.000000"}}});

        const sp<FakeHal> hal = FakeHal::start();
        const sp<FakeDevice> device = std::exchange(hal->device, nullptr);
        expectLog(log, "MicControl", {{construct, {start, "E load audio interface failed"}}});
        hal->device = device;
        device->answer = {{"builtin_mic_gain", "0.25"}};
        expectLog(
            log, "MicControl",
            {{construct, {start, "D [MicControl] end"}},
             {[&] { EXPECT_TRUE(service->getMicDevices([](const auto&) {}).isOk()); },
              {"D [getMicDevices] start", "D [getMicDevices] devices[0]=[" + mic + "]",
               "D [getMicDevices] end"}},
             {set(mic, 1, 0), {setting + "1.000000]", "D [setMicGain] end ret:0"}},
             {set("x", 1.5F, -1),
              {"D [setMicGain] start micDevice=[x] scale=[1.500000]",
               "E Illegal parameters: scale:1.500000"}},
             {set("x", 0, -1),
              {"D [setMicGain] start micDevice=[x] scale=[0.000000]", "E Illegal parameters: micDevice:x"}},
             {get(mic, 0.25F), {"D [getMicGain] start", "D [getMicGain] end:scale = 0.250000"}},
             {get("x", 0), {"D [getMicGain] start", "E Illegal parameters: micDevice:x"}}});
        device->result = Result::NOT_SUPPORTED;
        expectLog(log, "MicControl",
                  {{set(mic, 0.5F, -1), {setting + "0.500000]", "E setParameters failed"}}});
        EXPECT_EQ(hal->opens, 2) << "the HAL is opened only by constructors";
    });
}

}  // namespace
}  // namespace hidlaudio::test
