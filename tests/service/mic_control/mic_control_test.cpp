// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "host/kernel/log.h"
#include "mic_control/MicControl.h"
#include "tests/support/fake_hal.h"
#include "tests/support/own_process.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio;
using testing::ElementsAre;
using testing::IsEmpty;
using V6_1::IMicControl;

const std::string kMic = "AUDIO_DEVICE_IN_BUILTIN_MIC";

class MicControl : public testing::Test {
  protected:
    static sp<IMicControl> start() { return new V6_1::implementation::MicControl; }

    PrivateTv tv_{};
    const host::LogCapture log_;
};

TEST_F(MicControl, ListsMicrophoneAndPassesGainToHal) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        const sp<IMicControl> service = start();
        std::vector<std::vector<hidl_string>> answers;
        EXPECT_TRUE(
            service->getMicDevices([&](const auto& devices) { answers.emplace_back(devices); }).isOk());
        EXPECT_THAT(answers, ElementsAre(ElementsAre(kMic)));
        for (const auto& [scale, text] :
             {std::pair(0.0F, "0.000000"), {0.5F, "0.500000"}, {1.0F, "1.000000"}}) {
            EXPECT_EQ(service->setMicGain(kMic, scale), 0);
            EXPECT_THAT(hal->device->take(), ElementsAre(std::string("builtin_mic_gain=") + text));
        }
    });
}

TEST_F(MicControl, RefusesInvalidGainOrDevice) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        const sp<IMicControl> service = start();
        const float infinity = INFINITY;
        for (const float scale : {1.0001F, -0.0001F, infinity, NAN}) {
            EXPECT_EQ(service->setMicGain(kMic, scale), -1) << scale;
        }
        for (const std::string& device : {std::string(), std::string("AUDIO_DEVICE_IN_WIRED_HEADSET"),
                                          std::string("AUDIO"), kMic + "2", kMic + '\0' + "2", "x" + kMic}) {
            EXPECT_EQ(service->setMicGain(device, 0.5F), -1) << device;
            EXPECT_EQ(service->getMicGain(device), 0.0F) << device;
        }
        EXPECT_THAT(hal->device->take(), IsEmpty());
    });
}

TEST_F(MicControl, ReadsGainFromHal) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        const sp<IMicControl> service = start();
        for (const auto& [text, gain] : {std::pair("0.250000", 0.25F), {" 7.5dB", 7.5F}, {"", 0.0F}}) {
            hal->device->answer = {{"another key", text}, {"builtin_mic_gain", "0.9"}};
            EXPECT_EQ(service->getMicGain(kMic), gain) << text;
            EXPECT_THAT(hal->device->take(), ElementsAre("builtin_mic_gain?"));
        }
        hal->device->answer = {};
        EXPECT_EQ(service->getMicGain(kMic), 0.0F);
        hal->device->answer = {{"builtin_mic_gain", "0.5"}};
        hal->device->result = Result::INVALID_STATE;
        EXPECT_EQ(service->getMicGain(kMic), 0.0F);
    });
}

}  // namespace
}  // namespace hidlaudio::test
