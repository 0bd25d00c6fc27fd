// SPDX-License-Identifier: Apache-2.0
#include "services.h"

#include <com/tovi/dtv/hardware/audio/1.0/IHdmiAudio.h>
#include <com/tovi/dtv/hardware/audio/2.0/IOutputEncodingStatusListener.h>
#include <com/tovi/dtv/hardware/audio/2.0/IOutputExternal.h>
#include <com/tovi/dtv/hardware/audio/2.0/IOutputSpeaker.h>
#include <com/tovi/dtv/hardware/audio/3.0/IAcousticCalibration.h>
#include <com/tovi/dtv/hardware/audio/4.0/ICenterSpeaker.h>
#include <com/tovi/dtv/hardware/audio/5.0/IHeadphoneVirtualizer.h>
#include <com/tovi/dtv/hardware/audio/6.0/IMicControl.h>
#include <stdlib.h>

#include "options.h"

namespace tovi_audio_vts {

using namespace ::com::tovi::dtv::hardware::audio;

namespace {

template <typename Interface, typename Call>
void callIfRegistered(Call call) {
    const sp<Interface> service = Interface::tryGetService();
    if (service != nullptr) call(service);
}

}  // namespace

void callAllServices() {
    callIfRegistered<V1_0::IHdmiAudio>([](const auto& service) {
        const Names levels = namesOf([&](auto callback) { return service->getAudioCapabilities(callback); });
        EXPECT_EQ(levels.size(), 3u);
    });
    callIfRegistered<V2_0::IOutputEncodingStatusListener>(
        [](const auto& service) { expectOk(service->onForceEncodingChanged(true)); });
    callIfRegistered<V2_0::IOutputExternal>([](const auto& service) {
        const bool enabled = valueOf(service->getForceEncodingEnabled());
        EXPECT_EQ(valueOf(service->setForceEncodingEnabled(enabled)), 0);
    });
    callIfRegistered<V2_0::IOutputSpeaker>([](const auto& service) { valueOf(service->getSurroundType()); });
    callIfRegistered<V3_0::IAcousticCalibration>([](const auto& service) {
        const auto data = resultOf<hidl_vec<V3_0::calibratedData>>(
            [&](auto callback) { return service->getCalibratedData(callback); });
        EXPECT_EQ(valueOf(service->setCalibratedData(data)), 0);
        valueOf(service->getEnabled());
    });
    callIfRegistered<V4_0::ICenterSpeaker>(
        [](const auto& service) { valueOf(service->isCenterSpeakerInputAvailable()); });
    callIfRegistered<V5_0::IHeadphoneVirtualizer>([](const auto& service) {
        EXPECT_EQ(valueOf(service->setVirtualizerType("Tovi")), 0);
        valueOf(service->getUpmixEnabled());
    });
    callIfRegistered<V6_0::IMicControl>(
        [](const auto& service) { EXPECT_EQ(valueOf(service->setMicGain("no microphone", 0.5f)), -1); });
}

bool runRestartCommand() {
    const int status = system(options().restartCommand.c_str());
    EXPECT_EQ(status, 0) << "the command of --restart-command failed: " << options().restartCommand;
    return status == 0;
}

}  // namespace tovi_audio_vts
