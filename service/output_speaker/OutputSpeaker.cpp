// SPDX-License-Identifier: Apache-2.0
#include "OutputSpeaker.h"

#include <android-base/thread_annotations.h>

#include <iterator>
#include <mutex>

#include "platform/PrimaryHalAccessor.h"
#include "platform/config_store.h"
#include "platform/hal_parameters.h"
#include "platform/log.h"
#include "platform/middleware_session.h"
#include "platform/readiness.h"
#include "platform/soc_middleware.h"
#include "platform/write_dump.h"

namespace com::tovi::dtv::hardware::audio::V6_1::implementation {
namespace {

using ::android::sp;
using ::android::hardware::Void;
using ::android::hardware::audio::V5_0::IPrimaryDevice;
using platform::logDebug;
using platform::logError;
using platform::logWarning;

constexpr char kLogTag[] = "AudioOutSp";
constexpr platform::DtvSvcWait kReadiness{
    kLogTag, 10, platform::kDtvSvcWaiting, nullptr, -1, ANDROID_LOG_DEBUG, platform::kDtvSvcTimeout};
constexpr platform::MiddlewareOpening kOpening{platform::MiddlewareSession::PlaybackControl, kLogTag,
                                               "ERROR: OutputSpeaker MTAL_Init.... , r = ", " \n",
                                               "OutputSpeaker mtal open success"};
constexpr int32_t kLastSurroundType = 2;
/** The speaker selection for which the TV's speakers form no surround sound. */
constexpr int32_t kSpeakerWithoutSurround = 1;
/** The HAL's names of the positions. The index is the position's number in the configuration store. */
constexpr const char* kHalPositions[] = {"table_top", "wall_mount"};

sp<IPrimaryDevice> primaryDevice;  // constant once the service is constructed

std::mutex positionLock;
/** The position stored last, which updateHal() reports to the HAL. */
int32_t storedPosition GUARDED_BY(positionLock) = 0;

bool isPosition(int32_t value) {
    return value >= 0 && value < static_cast<int32_t>(std::size(kHalPositions));
}

int32_t lastPosition() {
    const std::lock_guard lock(positionLock);
    return storedPosition;
}

/**
 * Reports the position stored last to the HAL, without the lock, since the HAL may block for long. Repeats
 * that if another thread has stored another position meanwhile. The HAL's result is ignored.
 */
void updateHal() {
    int32_t sent = 0;
    do {
        sent = lastPosition();
        platform::setHalParameter(primaryDevice, "tv_position", kHalPositions[sent]);
    } while (sent != lastPosition());
}

/** Sends the position that the middleware stores to the HAL. Called once, by the constructor. */
void restorePosition(int32_t position) {
    {
        const std::lock_guard lock(positionLock);
        storedPosition = position;
    }
    updateHal();
}

/** Stores a valid position. Returns the middleware's status. */
int32_t storePosition(int32_t position) {
    const std::lock_guard lock(positionLock);
    storedPosition = position;
    return platform::writeConfig(platform::kTvPosition, position);
}

/** Reads the stored position. Returns the middleware's status; a failure is logged. */
int32_t readPosition(int32_t& value) {
    const int32_t status = platform::readConfig(platform::kTvPosition, value);
    if (status != 0) logError(kLogTag, "a_mtktvapi_config_get_value failed:ret = %d", status);
    return status;
}

int32_t readMainDelay(uint32_t& delay) {
    const std::lock_guard lock(middlewareLock);
    return MTAUDDEC_GetChannelMainDelaySp(&delay);
}

/** Returns the TV's speaker selection, or 0 if it cannot be read: then the surround type counts. */
int32_t readSpeaker(const char* function) {
    int32_t speaker = 0;
    if (const int32_t status = platform::readConfig(platform::kAudioSpeaker, speaker); status != 0) {
        logError(kLogTag, "%s, MTKTVAPI CFG_AUD_SPEAKER failed:ret = %d\n", function, status);
    }
    return speaker;
}

/** Reports only whether the audio HAL was opened at the start: a call to the HAL could block. */
platform::ServiceState describe() {
    return {"OutputSpeaker",
            {{"settings",
              {platform::text("tv_position_key", platform::kTvPosition.name),
               platform::text("surround_type_key", platform::kSpeakerSurroundType.name),
               platform::text("speaker_key", platform::kAudioSpeaker.name)}},
             {"audio_hal", {platform::yesNo("opened", primaryDevice != nullptr)}}}};
}

}  // namespace

OutputSpeaker::OutputSpeaker() {
    logDebug(kLogTag, "[%s] start", __func__);
    // Continue after a time-out: the middleware may still work.
    waitForDtvSvc(kReadiness);
    openMiddleware(kOpening);
    primaryDevice = platform::PrimaryHalAccessor().getHalPrimaryDevice();
    if (primaryDevice == nullptr) {
        logError(kLogTag, "load audio interface failed");
        return;
    }
    int32_t position = -1;
    if (readPosition(position) != 0) return;
    logDebug(kLogTag, "get tv position:%d", position);
    if (isPosition(position)) {
        restorePosition(position);
    } else {
        logError(kLogTag, "a_mtktvapi_config_get_value:Illigal value = %d", position);
    }
    logDebug(kLogTag, "[%s] end", __func__);
}

Return<SurroundType> OutputSpeaker::getSurroundType() {
    logDebug(kLogTag, "[%s] start", __func__);
    int32_t type = -1;
    if (const int32_t status = platform::readConfig(platform::kSpeakerSurroundType, type); status != 0) {
        logError(kLogTag, "%s, MTKTVAPI failed:ret = %d\n", __func__, status);
        return SurroundType::NONE;
    }
    if (readSpeaker(__func__) == kSpeakerWithoutSurround || type < 0 || type > kLastSurroundType) type = 0;
    logDebug(kLogTag, "[%s] end ret:%d", __func__, type);
    return static_cast<SurroundType>(type);
}

Return<TvPositionType> OutputSpeaker::getTvPosition() {
    logDebug(kLogTag, "[%s] start", __func__);
    int32_t value = -1;
    const int32_t status = readPosition(value);
    if (status != 0) return TvPositionType::TABLE_TOP;
    logDebug(kLogTag, "get tv position:value = %d, result = %d", value, status);
    const int32_t position = isPosition(value) ? value : 0;
    logDebug(kLogTag, "[%s] end:ret = %d", __func__, position);
    return static_cast<TvPositionType>(position);
}

Return<int32_t> OutputSpeaker::setTvPosition(int32_t type) {
    logDebug(kLogTag, "[%s] start:type = %d", __func__, type);
    if (!isPosition(type)) logWarning(kLogTag, "illigal argument:type = %d", type);
    const int32_t position = isPosition(type) ? type : 0;
    const int32_t status = storePosition(position);
    logDebug(kLogTag, "set tv position:value = %d, result = %d", position, status);
    if (primaryDevice != nullptr) updateHal();
    logDebug(kLogTag, "[%s] end:ret = %d", __func__, status);
    return status;
}

Return<float> OutputSpeaker::getDelay() {
    logDebug(kLogTag, "[%s] start", __func__);
    uint32_t delay = 0;
    if (const int32_t status = readMainDelay(delay); status != 0) {
        logError(kLogTag, "MTAUDDEC_GetChannelMainDelaySp failed. ret:%d", status);
        return 0.0F;
    }
    logDebug(kLogTag, "[%s] end:ret = %d", __func__, static_cast<int32_t>(delay));
    return static_cast<float>(delay);
}

Return<void> OutputSpeaker::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    platform::writeDump(fd, options, describe);
    return Void();
}

}  // namespace com::tovi::dtv::hardware::audio::V6_1::implementation
