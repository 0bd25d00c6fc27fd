// SPDX-License-Identifier: Apache-2.0
#include "MicControl.h"

#include <stdio.h>

#include <string>
#include <string_view>

#include "platform/PrimaryHalAccessor.h"
#include "platform/hal_parameters.h"
#include "platform/log.h"
#include "platform/write_dump.h"

namespace com::tovi::dtv::hardware::audio::V6_1::implementation {
namespace {

using ::android::sp;
using ::android::hardware::Void;
using ::android::hardware::audio::V5_0::IPrimaryDevice;
using platform::logDebug;
using platform::logError;

constexpr char kLogTag[] = "MicControl";
constexpr char kBuiltInMic[] = "AUDIO_DEVICE_IN_BUILTIN_MIC";
constexpr char kGainParameter[] = "builtin_mic_gain";
constexpr float kMinGain = 0.0F;
constexpr float kMaxGain = 1.0F;
constexpr int32_t kRefused = -1;

sp<IPrimaryDevice> primaryDevice;

/** Returns whether a gain is valid; logs an invalid one. False for NaN as well. */
bool isGain(float scale) {
    if (scale >= kMinGain && scale <= kMaxGain) return true;
    logError(kLogTag, "Illegal parameters: scale:%f", scale);
    return false;
}

bool isKnownDevice(const hidl_string& name) {
    // Compares the whole name: a name that continues after a zero byte is a different name.
    if (std::string_view(name.c_str(), name.size()) == kBuiltInMic) return true;
    logError(kLogTag, "Illegal parameters: micDevice:%s", name.c_str());
    return false;
}

/** Reads the gain from the HAL, which returns a text. Returns 0 if the text does not start with a number. */
float askHal() {
    const std::string text = platform::getHalParameter(primaryDevice, kGainParameter);
    float scale = 0.0F;
    return sscanf(text.c_str(), "%f", &scale) == 1 ? scale : 0.0F;
}

/** Reports only whether the audio HAL was opened at the start: a call to the HAL could block. */
platform::ServiceState describe() {
    return {"MicControl",
            {{"settings", {platform::text("gain_parameter", kGainParameter)}},
             {"audio_hal", {platform::yesNo("opened", primaryDevice != nullptr)}}}};
}

}  // namespace

MicControl::MicControl() {
    logDebug(kLogTag, "[%s] start", __func__);
    primaryDevice = platform::PrimaryHalAccessor().getHalPrimaryDevice();
    if (primaryDevice == nullptr) {
        logError(kLogTag, "load audio interface failed");
    } else {
        logDebug(kLogTag, "[%s] end", __func__);
    }
}

Return<int32_t> MicControl::setMicGain(const hidl_string& micDevice, float scale) {
    logDebug(kLogTag, "[%s] start micDevice=[%s] scale=[%f]", __func__, micDevice.c_str(), scale);
    if (!isGain(scale) || !isKnownDevice(micDevice)) return kRefused;
    if (primaryDevice == nullptr) {
        logError(kLogTag, "PrimaryHAL getService fails");
        return kRefused;
    }
    if (!platform::setHalParameter(primaryDevice, kGainParameter, std::to_string(scale))) {
        logError(kLogTag, "setParameters failed");
        return kRefused;
    }
    logDebug(kLogTag, "[%s] end ret:%d", __func__, 0);
    return 0;
}

Return<float> MicControl::getMicGain(const hidl_string& micDevice) {
    logDebug(kLogTag, "[%s] start", __func__);
    if (!isKnownDevice(micDevice)) return 0.0F;
    const float scale = primaryDevice != nullptr ? askHal() : 0.0F;
    logDebug(kLogTag, "[%s] end:scale = %f", __func__, scale);
    return scale;
}

Return<void> MicControl::getMicDevices(getMicDevices_cb _hidl_cb) {
    logDebug(kLogTag, "[%s] start", __func__);
    const hidl_vec<hidl_string> devices{kBuiltInMic};
    for (size_t i = 0; i < devices.size(); ++i) {
        logDebug(kLogTag, "[%s] devices[%zu]=[%s]", __func__, i, devices[i].c_str());
    }
    logDebug(kLogTag, "[%s] end", __func__);
    _hidl_cb(devices);
    return Void();
}

Return<void> MicControl::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    platform::writeDump(fd, options, describe);
    return Void();
}

}  // namespace com::tovi::dtv::hardware::audio::V6_1::implementation
