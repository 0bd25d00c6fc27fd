// SPDX-License-Identifier: Apache-2.0
#include "audio_driver_path.h"

#include <time.h>

#include <algorithm>
#include <iterator>

#include "back_end.h"
#include "log_tag.h"
#include "platform/log.h"
#include "platform/soc_middleware.h"
#include "rounding.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {
namespace {

using platform::logError;

constexpr uint32_t kPostProcessorReady = 0x42;
constexpr int kQueries = 50;
constexpr timespec kInterval{0, 200000000};

/** Settings of the driver. The default is a flat sound. */
struct DriverSettings {
    float gains[32]{};      // in dB; the driver has 32 gains for 31 bands, the last one stays 0
    int8_t volumeOffset{};  // in tenths of a dB
};

DriverSettings makeCalibratedDataForAudioDriver(const CalibrationRecords& records) {
    DriverSettings settings;
    if (const aud_ac_data_Table* record = findFrontLeft(records); record != nullptr) {
        std::copy(std::begin(record->geqGain), std::end(record->geqGain), settings.gains);
        settings.volumeOffset = static_cast<int8_t>(toTenths(record->level));
    }
    return settings;
}

/** Sets `answer` to 0 if the post-processor is not ready. Returns the middleware's status. */
int32_t queryPostProcessor(uint32_t& answer) {
    answer = 0;
    const std::lock_guard lock(middlewareLock);
    return MTAUDPOST_GetParameters({kPostProcessorReady, 1, &answer, {}});
}

/** Waits up to 10 s. Returns 0 if the post-processor is ready, 1 after a time-out, or -1 if a query fails. */
int32_t checkCpupostReady() {
    for (int query = 0; query < kQueries; ++query) {
        uint32_t answer = 0;
        if (const int32_t status = queryPostProcessor(answer); status != 0) {
            logError(kLogTag, "[%s] MTAUDPOST_GetParameters failed!!(%d)", __func__, status);
            return -1;
        }
        if (answer != 0) return 0;
        nanosleep(&kInterval, nullptr);
    }
    logError(kLogTag, "[%s] wait cpupost Ready timeout.", __func__);
    return 1;
}

int32_t setCalibratedDataToAudioDriver(const DriverSettings& settings) {
    const std::lock_guard lock(middlewareLock);
    if (const int32_t status = MTAUDDEC_Set32EqualizerBandConfig(settings.gains); status != 0) {
        logError(kLogTag, "[%s] MTAUDDEC_Set32EqualizerBandConfig failed. ret:%d", __func__, status);
        return status;
    }
    const int32_t status = MTAUDDEC_SetAcVolumeOffset(settings.volumeOffset);
    if (status != 0) {
        logError(kLogTag, "[%s] MTAUDDEC_SetAcVolumeOffset failed. ret:%d", __func__, status);
        // An equalizer without its level could be too loud.
        MTAUDDEC_Set32EqualizerBandConfig(DriverSettings().gains);
    }
    return status;
}

}  // namespace

int32_t awaitAudioDriver() {
    if (const int32_t result = checkDtvSvcBoot(); result != 0) {
        logError(kLogTag, "[setCalibratedDataToAudioDriver] AQCtrl Boot failed [TimeOut].");
        return result;
    }
    // Continue after a time-out: the driver may still take the settings.
    checkCpupostReady();
    return 0;
}

int32_t enableCalibrationAudioDriver(const CalibrationRecords& records) {
    return setCalibratedDataToAudioDriver(makeCalibratedDataForAudioDriver(records));
}

int32_t disableCalibrationAudioDriver() {
    return setCalibratedDataToAudioDriver({});
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
