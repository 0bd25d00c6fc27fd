// SPDX-License-Identifier: Apache-2.0
#include "acoustic_calibration/AcousticCalibration.h"

#include "acoustic_calibration/audio_driver_path.h"
#include "acoustic_calibration/auto_offset.h"
#include "acoustic_calibration/back_end_path.h"
#include "acoustic_calibration/calibration_file.h"
#include "acoustic_calibration/calibration_parameters.h"
#include "acoustic_calibration/calibration_state.h"
#include "acoustic_calibration/enabled_flag.h"
#include "acoustic_calibration/log_tag.h"
#include "acoustic_calibration/smooth_delay.h"
#include "platform/PrimaryHalAccessor.h"
#include "platform/back_end_boot.h"
#include "platform/back_end_model.h"
#include "platform/debug_answer.h"
#include "platform/log.h"
#include "platform/readiness.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {
namespace {

using ::android::sp;
using ::android::hardware::Void;
using ::android::hardware::audio::V5_0::IPrimaryDevice;
using platform::logDebug;
using platform::logError;

constexpr int32_t kFailed = -1;
constexpr int32_t kNoBackEnd = -2;

/** Until the TV has told: one with a back-end controller. */
bool backEndModel = true;

sp<IPrimaryDevice> primaryDevice;

/** The way that the calibration takes to the sound, by backEndModel. */
struct Path {
    int32_t (*enable)(const CalibrationRecords& records);
    int32_t (*disable)();
};

constexpr Path kPaths[] = {
    {enableCalibrationAudioDriver, disableCalibrationAudioDriver},
    {enableCalibrationBeCtrl, disableCalibrationBeCtrl},
};

const Path& path() {
    return kPaths[backEndModel ? 1 : 0];
}

}  // namespace

AcousticCalibration::AcousticCalibration() {
    logDebug(kTag, "[%s] start", __func__);
    turnSmoothDelayOff();
    if (platform::checkDtvSvcBoot() == 0) backEndModel = platform::isBeModel();
    // Late or not, the controller may take the calibration all the same.
    if (backEndModel) platform::checkBeCtrlBoot();
    primaryDevice = platform::PrimaryHalAccessor().getHalPrimaryDevice();
    if (primaryDevice == nullptr) {
        logError(kTag, "load audio interface failed");
        return;
    }
    publishAutoCalibOffset(__func__, primaryDevice, backEndModel, restore());
    logDebug(kTag, "[%s] end", __func__);
}

Return<int32_t> AcousticCalibration::setEnabled(bool enable) {
    logDebug(kTag, "[%s] start enable:%d", __func__, enable);
    float offset = 0.0F;
    int32_t result = enable ? applyStored(__func__, offset) : path().disable();
    if (result == 0) {
        result = storeSwitch(enable);
    } else {
        logError(kTag, "[%s] Skip to write enabled data, because calibration was fail.", __func__);
    }
    publishAutoCalibOffset(__func__, primaryDevice, backEndModel, offset);
    logDebug(kTag, "[%s] end Return: %d", __func__, result);
    return result;
}

Return<bool> AcousticCalibration::getEnabled() {
    logDebug(kTag, "[%s] start", __func__);
    const std::lock_guard lock(enabledLock_);
    const bool enabled = readEnabledData(__func__);
    logDebug(kTag, "[%s] end Return: %d", __func__, enabled);
    return enabled;
}

Return<int32_t> AcousticCalibration::setCalibratedData(const hidl_vec<V3_0::calibratedData>& data) {
    logDebug(kTag, "[%s] start", __func__);
    if (checkCalibratedData(data) != 0) return kFailed;
    const std::lock_guard lock(dataLock_);
    const int32_t result = writeCalibratedData(__func__, data);
    logDebug(kTag, "[%s] end", __func__);
    return result;
}

Return<void> AcousticCalibration::getCalibratedData(getCalibratedData_cb _hidl_cb) {
    logDebug(kTag, "[%s] start", __func__);
    CalibrationRecords records;
    if (readRecords(records) != 0) {
        logError(kTag, "[%s] end readCalibratedData failed", __func__);
        _hidl_cb({});
        return Void();
    }
    hidl_vec<V3_0::calibratedData> data(usedChannels(records));
    for (size_t i = 0; i < data.size(); ++i) data[i] = fromRecord(records[i]);
    _hidl_cb(data);
    logDebug(kTag, "[%s] end", __func__);
    return Void();
}

Return<void> AcousticCalibration::getCalibrationParameters(getCalibrationParameters_cb _hidl_cb) {
    logDebug(kTag, "[%s] start", __func__);
    V3_0::calibrationParameters parameters{};
    const int32_t result = readCalibrationParameters(__func__, parameters);
    _hidl_cb(parameters);
    if (result == 0) logDebug(kTag, "[%s] end", __func__);
    return Void();
}

Return<int32_t> AcousticCalibration::setSmoothDelayEnabled(bool enable) {
    logDebug(kTag, "[%s] start arg:%d", __func__, enable);
    if (!backEndModel) {
        logError(kTag, "[%s] none BE model", __func__);
        return kNoBackEnd;
    }
    if (enable == smoothDelay().enabled) return 0;
    const char* const function = __func__;
    const int32_t result = switchSmoothDelay(enable, [&] { return reapply(function); });
    logDebug(kTag, "[%s] end Return: %d", __func__, result);
    return result;
}

Return<bool> AcousticCalibration::getSmoothDelayEnabled() {
    logDebug(kTag, "[%s] Return: %d", __func__, smoothDelay().enabled);
    return smoothDelay().enabled;
}

Return<int32_t> AcousticCalibration::setSmoothDelay(const hidl_vec<float>& delays) {
    logDebug(kTag, "[%s] start", __func__);
    if (!backEndModel) {
        logError(kTag, "[%s] none BE model.", __func__);
        return kNoBackEnd;
    }
    if (!smoothDelay().enabled) {
        logDebug(kTag, "[%s] SD invalid.", __func__);
        return 0;
    }
    if (!isSmoothDelay(delays)) return kFailed;
    const char* const function = __func__;
    const int32_t result = replaceSmoothDelay(delays, [&] { return reapply(function); });
    logDebug(kTag, "[%s] end Return: %d", __func__, result);
    return result;
}

Return<void> AcousticCalibration::getSmoothDelay(getSmoothDelay_cb _hidl_cb) {
    logDebug(kTag, "[%s] start", __func__);
    _hidl_cb(smoothDelay().values);
    logDebug(kTag, "[%s] end", __func__);
    return Void();
}

Return<void> AcousticCalibration::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    platform::answerDebug(fd, options, []() -> platform::ServiceState {
        return {"AcousticCalibration",
                {{"model", {platform::yesNo("back_end_controller", backEndModel)}},
                 {"smooth_delay", describeSmoothDelay()},
                 {"persisted", describeCalibrationFiles()},
                 {"audio_hal", {platform::yesNo("opened", primaryDevice != nullptr)}}}};
    });
    return Void();
}

int32_t AcousticCalibration::readRecords(CalibrationRecords& records) {
    const std::lock_guard lock(dataLock_);
    return readCalibratedData(records);
}

int32_t AcousticCalibration::readSwitchOnBoot() {
    const std::lock_guard lock(enabledLock_);
    return getEnabledOnBoot();
}

int32_t AcousticCalibration::storeSwitch(bool enable) {
    const std::lock_guard lock(enabledLock_);
    return setEnabledData(enable);
}

/** Brings the sound to the stored state; the offset that goes with it. */
float AcousticCalibration::restore() {
    CalibrationRecords records;
    if (readSwitchOnBoot() != kCalibrationOn || readRecords(records) != 0) {
        path().disable();
        return 0.0F;
    }
    path().enable(records);
    return getAutoCalibOffset(records);
}

/** Applies the stored results; `offset` is theirs, even where the TV refuses them. */
int32_t AcousticCalibration::applyStored(const char* function, float& offset) {
    CalibrationRecords records;
    if (readRecords(records) != 0) {
        logError(kTag, "[%s] end readCalibratedData failed", function);
        return kFailed;
    }
    const int32_t result = path().enable(records);
    offset = getAutoCalibOffset(records);
    return result;
}

/** Sends the calibration as it is stored, a flat one where it is off or cannot be read. */
int32_t AcousticCalibration::reapply(const char* function) {
    if (!getEnabled()) return path().disable();
    CalibrationRecords records;
    if (readRecords(records) == 0) return path().enable(records);
    const int32_t result = path().disable();
    logError(kTag, "[%s] end read NG.", function);
    return result;
}

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
