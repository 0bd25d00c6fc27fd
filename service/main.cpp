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
    const char* failure;  // message that is logged if the registration fails
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
 * The services are constructed and registered in this order. Each constructor waits for the parts of
 * the TV that its service needs, so this is also the order of these waits.
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

/** The services in the order of kServices. */
using Objects = std::array<sp<IBase>, std::size(kServices)>;

Objects constructServices() {
    Objects objects;
    for (size_t i = 0; i < objects.size(); ++i) objects[i] = kServices[i].construct();
    return objects;
}

/** Registers the services. Returns false after the first failure; the services before it stay registered. */
bool registerServices(const Objects& objects) {
    for (size_t i = 0; i < objects.size(); ++i) {
        if (kServices[i].registerObject(objects[i]) == ::android::OK) continue;
        logError(kLogTag, "%s", kServices[i].failure);
        return false;
    }
    return true;
}

/** Serves until the process is killed. Returns the exit status if that is not possible. */
int serve() {
    logDebug(kLogTag, "########## HIDL server side: main() is called:");
    // A constructor may wait until the audio HAL is registered. This wait starts the thread pool of the
    // process, by default with one thread in addition to the main thread. Without this call that
    // thread would serve calls concurrently with the main thread.
    ::android::hardware::configureRpcThreadpool(1, true);
    const Objects objects = constructServices();
    // The main thread alone serves all calls of all services. The call is repeated, so that the
    // configuration at the time of the join does not depend on the constructors.
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
