// SPDX-License-Identifier: Apache-2.0
#include "OutputExternal.h"

#include <android-base/thread_annotations.h>
#include <string.h>

#include <mutex>

#include "bitstream_mode_file.h"
#include "platform/config_store.h"
#include "platform/log.h"
#include "platform/middleware_session.h"
#include "platform/persisted_file.h"
#include "platform/readiness.h"
#include "platform/write_dump.h"

namespace com::tovi::dtv::hardware::audio::V3_1::implementation {

using namespace output_external;

namespace {

using ::android::hardware::Void;
using platform::kBitstreamOutputMode;
using platform::kNoTag;
using platform::logDebug;
using platform::logError;

/** Held while a mode is written to the middleware and to the file, so that both have the same mode. */
std::mutex modeLock;

constexpr platform::DtvSvcWait kReadiness{
    kNoTag, 10, platform::kDtvSvcWaiting, nullptr, -1, ANDROID_LOG_DEBUG, platform::kDtvSvcTimeout};
constexpr platform::MiddlewareOpening kOpening{platform::MiddlewareSession::PlaybackControl, kNoTag,
                                               "ERROR: OutputExternal MTAL_Init.... , r = ", " \n",
                                               "OutputExternal mtal open success"};

constexpr int32_t kForcedEncodingOn = 0;
constexpr int32_t kForcedEncodingOff = 2;

void logOpenFailure(const char* function, int error) {
    logError(kNoTag, "[%s] open file %s failed, errno %d", function, kBitstreamModeFile, error);
}

/** Sets the middleware to the mode of the file. The default is forced encoding on. */
void restoreMode(const char* function) {
    std::optional<int32_t> mode;
    if (const int error = loadBitstreamMode(mode); error != 0) {
        logOpenFailure(function, error);
        return;
    }
    const int32_t restored = mode.value_or(kForcedEncodingOn);
    const int32_t status = platform::writeConfig(kBitstreamOutputMode, restored);
    logDebug(kNoTag, "[%s] %sset bitstream output mode %d,  result %d", function,
             mode ? "" : "prev setting not exist. ", restored, status);
}

REQUIRES(modeLock) void keepMode(const char* function, int32_t mode) {
    ssize_t written = -1;
    if (const int error = storeBitstreamMode(mode, written); error != 0) {
        logOpenFailure(function, error);
    } else {
        logDebug(kNoTag, "[%s] write(data=%d) ret = %zd", function, mode, written);
    }
}

/** Returns the mode of the file, or `std::nullopt` if it has none. Does not create the file. */
std::optional<int64_t> keptMode() {
    const std::optional<platform::PersistedFile> file = platform::inspectFile(kBitstreamModeFile);
    if (!file || file->size == 0) return std::nullopt;
    int32_t mode = 0;
    static_assert(sizeof(mode) == sizeof(file->start), "the file holds one mode");
    memcpy(&mode, file->start, sizeof(mode));
    return mode;
}

// Without the lock, which is held while the middleware is called: debug() must not wait for that.
platform::ServiceState describe() {
    return {"OutputExternal",
            {{"settings", {platform::text("bitstream_output_mode_key", kBitstreamOutputMode.name)}},
             {"persisted",
              {platform::text("file", kBitstreamModeFile),
               platform::number("bitstream_output_mode", keptMode())}},
             {"clients", {platform::number("listeners", 0)}}}};
}

}  // namespace

OutputExternal::OutputExternal() {
    // Continue after a time-out: the middleware may still take the setting.
    waitForDtvSvc(kReadiness);
    openMiddleware(kOpening);
    restoreMode(__func__);
}

Return<int32_t> OutputExternal::setForceEncodingEnabled(bool enable) {
    logDebug(kNoTag, "[%s] start enable:%d", __func__, enable);
    const int32_t mode = enable ? kForcedEncodingOn : kForcedEncodingOff;
    const std::lock_guard lock(modeLock);
    const int32_t status = platform::writeConfig(kBitstreamOutputMode, mode);
    if (status == 0) {
        keepMode(__func__, mode);
    } else {
        logError(kNoTag, "%s, MTKTVAPI failed:ret = %d\n", __func__, status);
    }
    logDebug(kNoTag, "[%s] end ret:%d", __func__, status);
    return status;
}

Return<bool> OutputExternal::getForceEncodingEnabled() {
    logDebug(kNoTag, "[%s] start", __func__);
    int32_t mode = -1;
    if (const int32_t status = platform::readConfig(kBitstreamOutputMode, mode); status != 0) {
        logError(kNoTag, "%s, MTKTVAPI failed:ret = %d\n", __func__, status);
        return false;
    }
    const bool enabled = mode == kForcedEncodingOn;
    logDebug(kNoTag, "[%s] end ret:%d", __func__, enabled);
    return enabled;
}

Return<int32_t> OutputExternal::setEncodingFormat(const hidl_string& /*format*/) {
    logDebug(kNoTag, "[%s] start", __func__);
    return 0;
}

Return<void> OutputExternal::getEncodingFormat(getEncodingFormat_cb _hidl_cb) {
    logDebug(kNoTag, "[%s] start", __func__);
    _hidl_cb("auto");
    return Void();
}

Return<void> OutputExternal::getAvailableEncodingFormats(getAvailableEncodingFormats_cb _hidl_cb) {
    logDebug(kNoTag, "[%s] start", __func__);
    _hidl_cb({});
    return Void();
}

Return<int32_t> OutputExternal::registerEncodingFormatListener(
    const sp<V2_0::IOutputEncodingStatusListener>& /*listener*/) {
    logDebug(kNoTag, "[%s] start", __func__);
    return 0;
}

Return<int32_t> OutputExternal::unregisterEncodingFormatListener(
    const sp<V2_0::IOutputEncodingStatusListener>& /*listener*/) {
    logDebug(kNoTag, "[%s] start", __func__);
    return 0;
}

Return<void> OutputExternal::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    platform::writeDump(fd, options, describe);
    return Void();
}

}  // namespace com::tovi::dtv::hardware::audio::V3_1::implementation
