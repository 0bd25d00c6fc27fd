// SPDX-License-Identifier: Apache-2.0
#include "AcousticCalibration.h"

#include "audio_driver_path.h"
#include "auto_offset.h"
#include "back_end.h"
#include "back_end_path.h"
#include "calibration_file.h"
#include "calibration_parameters.h"
#include "calibration_state.h"
#include "enabled_flag.h"
#include "log_tag.h"
#include "platform/PrimaryHalAccessor.h"
#include "platform/log.h"
#include "platform/write_dump.h"
#include "smooth_delay.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

using namespace acoustic_calibration;

namespace {

using ::android::sp;
using ::android::hardware::Void;
using ::android::hardware::audio::V5_0::IPrimaryDevice;
using platform::logDebug;
using platform::logError;

constexpr int32_t kFailed = -1;
constexpr int32_t kNoBackEnd = -2;

/** Whether this model has a back-end controller. True until the EEPROM is read; constant afterwards. */
bool backEndModel = true;

sp<IPrimaryDevice> primaryDevice;  // constant once the service is constructed

/** Number of switches of the calibration. A thread compares it to detect a switch by another thread. */
uint32_t switches GUARDED_BY(calibrationLock) = 0;

uint32_t switchCount() {
    const std::lock_guard lock(calibrationLock);
    return switches;
}

/** The level offset in dB that is reported to the HAL, and the number of its changes. */
struct Offset {
    float value = 0.0F;
    uint32_t changes = 0;
};
Offset lastOffset GUARDED_BY(calibrationLock);

/** The functions that apply a calibration. Call `await` first, without a lock. */
struct Path {
    int32_t (*await)();
    int32_t (*enable)(const CalibrationRecords& records);
    int32_t (*disable)();
};

/** [0] audio decoder driver, [1] back-end controller. */
constexpr Path kPaths[] = {
    {awaitAudioDriver, enableCalibrationAudioDriver, disableCalibrationAudioDriver},
    {awaitSetCalibratedDataToBeCtrl, enableCalibrationBeCtrl, disableCalibrationBeCtrl},
};

const Path& path() {
    return kPaths[backEndModel ? 1 : 0];
}

void logSkipped(const char* function) {
    logError(kLogTag, "[%s] Skip to write enabled data, because calibration was fail.", function);
}

REQUIRES(calibrationLock) void setOffset(float value) {
    lastOffset = {value, lastOffset.changes + 1};
}

Offset getOffset() {
    const std::lock_guard lock(calibrationLock);
    return lastOffset;
}

bool isSmoothDelayOn() {
    const std::lock_guard lock(calibrationLock);
    return smoothDelay().enabled;
}

hidl_vec<float> smoothDelayValues() {
    const std::lock_guard lock(calibrationLock);
    return smoothDelay().values;
}

/** Reports the offset to the HAL. Repeats that if another thread has changed the offset meanwhile. */
void publishOffset(const char* function) {
    Offset offset;
    do {
        offset = getOffset();
        publishAutoCalibOffset(function, primaryDevice, backEndModel, offset.value);
    } while (offset.changes != getOffset().changes);
}

}  // namespace

AcousticCalibration::AcousticCalibration() {
    logDebug(kLogTag, "[%s] start", __func__);
    {
        const std::lock_guard lock(calibrationLock);
        smoothDelay().enabled = false;
    }
    if (checkDtvSvcBoot() == 0) backEndModel = isBeModel();
    // Continue after a time-out: the controller may still take the calibration.
    if (backEndModel) checkBeCtrlBoot();
    primaryDevice = platform::PrimaryHalAccessor().getHalPrimaryDevice();
    if (primaryDevice == nullptr) {
        logError(kLogTag, "load audio interface failed");
        return;
    }
    restore();
    publishOffset(__func__);
    logDebug(kLogTag, "[%s] end", __func__);
}

Return<int32_t> AcousticCalibration::setEnabled(bool enable) {
    logDebug(kLogTag, "[%s] start enable:%d", __func__, enable);
    const int32_t result = switchTo(__func__, enable);
    publishOffset(__func__);
    logDebug(kLogTag, "[%s] end Return: %d", __func__, result);
    return result;
}

Return<bool> AcousticCalibration::getEnabled() {
    logDebug(kLogTag, "[%s] start", __func__);
    const std::lock_guard lock(enabledLock_);
    const bool enabled = readEnabledData(__func__);
    logDebug(kLogTag, "[%s] end Return: %d", __func__, enabled);
    return enabled;
}

Return<int32_t> AcousticCalibration::setCalibratedData(const hidl_vec<V3_0::calibratedData>& data) {
    logDebug(kLogTag, "[%s] start", __func__);
    if (checkCalibratedData(data) != 0) return kFailed;
    const std::lock_guard lock(dataLock_);
    const int32_t result = writeCalibratedData(__func__, data);
    logDebug(kLogTag, "[%s] end", __func__);
    return result;
}

Return<void> AcousticCalibration::getCalibratedData(getCalibratedData_cb _hidl_cb) {
    logDebug(kLogTag, "[%s] start", __func__);
    CalibrationRecords records;
    if (readRecords(records) != 0) {
        logError(kLogTag, "[%s] end readCalibratedData failed", __func__);
        _hidl_cb({});
        return Void();
    }
    hidl_vec<V3_0::calibratedData> data(usedChannels(records));
    for (size_t i = 0; i < data.size(); ++i) data[i] = fromRecord(records[i]);
    _hidl_cb(data);
    logDebug(kLogTag, "[%s] end", __func__);
    return Void();
}

Return<void> AcousticCalibration::getCalibrationParameters(getCalibrationParameters_cb _hidl_cb) {
    logDebug(kLogTag, "[%s] start", __func__);
    V3_0::calibrationParameters parameters{};
    const int32_t result = readCalibrationParameters(__func__, parameters);
    _hidl_cb(parameters);
    if (result == 0) logDebug(kLogTag, "[%s] end", __func__);
    return Void();
}

Return<int32_t> AcousticCalibration::setSmoothDelayEnabled(bool enable) {
    logDebug(kLogTag, "[%s] start arg:%d", __func__, enable);
    if (!backEndModel) {
        logError(kLogTag, "[%s] none BE model", __func__);
        return kNoBackEnd;
    }
    if (enable == isSmoothDelayOn()) return 0;
    const int32_t result =
        changeSmoothDelay(__func__, [enable](SmoothDelay& delay) { switchSmoothDelay(delay, enable); });
    logDebug(kLogTag, "[%s] end Return: %d", __func__, result);
    return result;
}

Return<bool> AcousticCalibration::getSmoothDelayEnabled() {
    const bool enabled = isSmoothDelayOn();
    logDebug(kLogTag, "[%s] Return: %d", __func__, enabled);
    return enabled;
}

Return<int32_t> AcousticCalibration::setSmoothDelay(const hidl_vec<float>& delays) {
    logDebug(kLogTag, "[%s] start", __func__);
    if (!backEndModel) {
        logError(kLogTag, "[%s] none BE model.", __func__);
        return kNoBackEnd;
    }
    if (!isSmoothDelayOn()) {
        logDebug(kLogTag, "[%s] SD invalid.", __func__);
        return 0;
    }
    if (!isSmoothDelay(delays)) return kFailed;
    const int32_t result =
        changeSmoothDelay(__func__, [&delays](SmoothDelay& delay) { delay.values = delays; });
    logDebug(kLogTag, "[%s] end Return: %d", __func__, result);
    return result;
}

Return<void> AcousticCalibration::getSmoothDelay(getSmoothDelay_cb _hidl_cb) {
    logDebug(kLogTag, "[%s] start", __func__);
    _hidl_cb(smoothDelayValues());
    logDebug(kLogTag, "[%s] end", __func__);
    return Void();
}

Return<void> AcousticCalibration::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    platform::writeDump(fd, options, []() -> platform::ServiceState {
        return {"AcousticCalibration",
                {{"model", {platform::yesNo("back_end_controller", backEndModel)}},
                 {"smooth_delay", describeSmoothDelay()},
                 {"persisted", describeFiles()},
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

/** Applies the stored calibration at the start. The status of the TV is ignored. */
void AcousticCalibration::restore() {
    CalibrationRecords records;
    const bool enabled = readSwitchOnBoot() == kCalibrationOn && readRecords(records) == 0;
    const bool ready = path().await() == 0;
    const std::lock_guard lock(calibrationLock);
    if (ready) enabled ? path().enable(records) : path().disable();
    setOffset(enabled ? getAutoCalibOffset(records) : 0.0F);
}

/**
 * Applies the calibration or a flat sound, and stores the switch if the TV accepts it. The offset changes
 * even if the TV refuses. Starts over if another thread switches the calibration meanwhile, because that one
 * may have read newer results.
 */
int32_t AcousticCalibration::switchTo(const char* function, bool enable) {
    for (;;) {
        const uint32_t before = switchCount();
        CalibrationRecords records;
        const bool isReadable = !enable || readRecords(records) == 0;
        int32_t result = isReadable ? path().await() : kFailed;
        const std::lock_guard lock(calibrationLock);
        if (before != switches) continue;
        if (!isReadable) logError(kLogTag, "[%s] end readCalibratedData failed", function);
        if (result == 0) result = enable ? path().enable(records) : path().disable();
        setOffset(enable && isReadable ? getAutoCalibOffset(records) : 0.0F);
        if (result != 0) {
            logSkipped(function);
            return result;
        }
        ++switches;
        return storeSwitch(enable);
    }
}

AcousticCalibration::Stored AcousticCalibration::readStored() {
    Stored stored{};
    stored.switches = switchCount();
    stored.enabled = getEnabled();
    stored.readable = stored.enabled && readRecords(stored.records) == 0;
    return stored;
}

/**
 * Changes the smooth delay and applies the calibration with it, or a flat sound if the calibration is off
 * or cannot be read. If the TV refuses, the switch of the smooth delay is restored, but its values are
 * kept. Starts over if another thread switches the calibration meanwhile.
 */
int32_t AcousticCalibration::changeSmoothDelay(const char* function, const Change& change) {
    for (;;) {
        const Stored stored = readStored();
        int32_t result = path().await();
        const std::lock_guard lock(calibrationLock);
        if (stored.switches != switches) continue;
        SmoothDelay& delay = smoothDelay();
        const bool before = delay.enabled;
        change(delay);
        if (result == 0) result = stored.readable ? path().enable(stored.records) : path().disable();
        if (stored.enabled && !stored.readable) logError(kLogTag, "[%s] end read NG.", function);
        if (result != 0) delay.enabled = before;
        return result;
    }
}

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
