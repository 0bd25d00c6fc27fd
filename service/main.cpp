// SPDX-License-Identifier: Apache-2.0
#include <hidl/HidlTransportSupport.h>

#include <array>
#include <iterator>

#include "acoustic_calibration/AcousticCalibration.h"
#include "hdmi_audio/HdmiAudio.h"
#include "headphone_virtualizer/HeadphoneVirtualizer.h"
#include "mic_control/MicControl.h"
#include "output_external/OutputEncodingStatusListener.h"
#include "output_external/OutputExternal.h"
#include "output_speaker/CenterSpeaker.h"
#include "output_speaker/OutputSpeaker.h"
#include "platform/log.h"

namespace com::tovi::dtv::hardware::audio {
namespace {

using ::android::sp;
using ::android::status_t;
using ::android::hidl::base::V1_0::IBase;
using platform::logDebug;
using platform::logError;

constexpr char kLogTag[] = "HidlAudio";

struct Service {
    sp<IBase> (*construct)();
    status_t (*registerObject)(const sp<IBase>& object);
    const char* failure;  // what is logged where it can't be registered
};

template <typename Interface, typename Implementation>
constexpr Service service(const char* failure) {
    return {[]() -> sp<IBase> { return sp<Interface>(new Implementation); },
            [](const sp<IBase>& object) {
                return static_cast<Interface*>(object.get())->registerAsService("default");
            },
            failure};
}

/**
 * In the order in which they are made and registered. Each constructor does what its
 * service needs of the TV's start-up, so the order of these actions is this one.
 */
constexpr Service kServices[] = {
    service<V3_1::IHdmiAudio, V3_1::implementation::HdmiAudio>(
        "########## HIDL server side: registerAsService() is failed:"),
    service<V3_1::IOutputEncodingStatusListener, V3_1::implementation::OutputEncodingStatusListener>(
        "########## HIDL OutputEncodingStatusListener server side: registerAsService() is failed:"),
    service<V3_1::IOutputExternal, V3_1::implementation::OutputExternal>(
        "########## HIDL OutputExternal server side: registerAsService() is failed:"),
    service<V6_1::IOutputSpeaker, V6_1::implementation::OutputSpeaker>(
        "########## HIDL OutputSpeaker server side: registerAsService() is failed:"),
    service<V5_1::IAcousticCalibration, V5_1::implementation::AcousticCalibration>(
        "########## HIDL AcousticCalibration server side: registerAsService() is failed:"),
    service<V4_0::ICenterSpeaker, V4_0::implementation::CenterSpeaker>(
        "########## HIDL CenterSpeaker server side: registerAsService() is failed:"),
    service<V5_1::IHeadphoneVirtualizer, V5_1::implementation::HeadphoneVirtualizer>(
        "########## HIDL HeadphoneVirtualizer server side: registerAsService() is failed:"),
    service<V6_1::IMicControl, V6_1::implementation::MicControl>(
        "########## HIDL MicControl server side: registerAsService() is failed:"),
};

/** The last one is released first. */
using Objects = std::array<sp<IBase>, std::size(kServices)>;

Objects constructServices() {
    Objects objects;
    for (size_t i = 0; i < objects.size(); ++i) objects[i] = kServices[i].construct();
    return objects;
}

/** Up to the first that fails; those before it stay registered. */
bool registerServices(const Objects& objects) {
    for (size_t i = 0; i < objects.size(); ++i) {
        if (kServices[i].registerObject(objects[i]) == ::android::OK) continue;
        logError(kLogTag, "%s", kServices[i].failure);
        return false;
    }
    return true;
}

/** Serves until the process is killed; coming back means that it could not. */
int serve() {
    logDebug(kLogTag, "########## HIDL server side: main() is called:");
    // Constructors may wait for the audio HAL to be registered. That wait starts the process's
    // thread pool, which has by default one thread of its own: without this call that thread
    // would stay and serve beside the main thread.
    ::android::hardware::configureRpcThreadpool(1, true);
    const Objects objects = constructServices();
    // One thread, this one, serves all calls of all services. Repeated here because the
    // configuration that holds when the pool is joined must not depend on what a constructor did.
    ::android::hardware::configureRpcThreadpool(1, true);
    if (registerServices(objects)) {
        ::android::hardware::joinRpcThreadpool();
        logDebug(kLogTag, "########## HIDL server side: Service exited");
    }
    return 1;
}

}  // namespace

}  // namespace com::tovi::dtv::hardware::audio

int main() {
    return com::tovi::dtv::hardware::audio::serve();
}
