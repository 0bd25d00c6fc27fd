// SPDX-License-Identifier: Apache-2.0
#include "HdmiAudio.h"

#include <string>
#include <vector>

#include "capabilities.h"
#include "log_tag.h"
#include "platform/log.h"
#include "platform/middleware_session.h"
#include "platform/readiness.h"
#include "platform/write_dump.h"

namespace com::tovi::dtv::hardware::audio::V3_1::implementation {

using namespace hdmi_audio;

namespace {

using ::android::hardware::Void;
using platform::logDebug;
using platform::logError;

constexpr platform::DtvSvcWait kReadiness{kLogTag,
                                          100,
                                          "<<<<<hdmiaudio waiting dtv_svc>>>>> count:",
                                          nullptr,
                                          -1,
                                          ANDROID_LOG_DEBUG,
                                          platform::kDtvSvcTimeout};
constexpr platform::MiddlewareOpening kOpening{platform::MiddlewareSession::PlaybackControl, kLogTag,
                                               "ERROR: HdmiAudio MTAL_Init.... , r = ", " \n",
                                               "HdmiAudio mtal open success"};

/**
 * Reads the status of a call to a client and ignores it. HIDL aborts the process if the status of a failed
 * call is never read. A client may be dead before its death notice arrives; the notice then removes its
 * callback.
 */
void examine(const ::android::hardware::details::return_status& status) {
    static_cast<void>(status.isOk());
}

}  // namespace

HdmiAudio::HdmiAudio() {
    // Continue after a time-out: the middleware may still work.
    waitForDtvSvc(kReadiness);
    openMiddleware(kOpening);
}

Return<void> HdmiAudio::getAudioCapabilities(getAudioCapabilities_cb _hidl_cb) {
    logDebug(kLogTag, "HIDL getAudioCapabilities");
    _hidl_cb(readCapabilities());
    return Void();
}

Return<int32_t> HdmiAudio::setAudioCapabilities(const hidl_vec<hidl_string>& capabilities) {
    logDebug(kLogTag, "HIDL hdmiaudio set");
    const std::vector<std::string> request(capabilities.begin(), capabilities.end());
    std::vector<hidl_string> applied;
    int32_t result = -1;
    for (const std::string& entry : request) {
        const std::optional<int32_t> status = writeCapability(entry, request);
        if (!status) continue;
        if (*status == 0) applied.emplace_back(entry);
        if (result != 0) result = *status;
    }
    if (!applied.empty()) notify(applied);
    logDebug(kLogTag, "HIDL hdmiaudio set finish");
    return result;
}

Return<void> HdmiAudio::setCallback(const sp<V1_1::IHdmiAudioCallback>& callback) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (callback == nullptr) {
        logDebug(kLogTag, "callback is nullptr. skip setCallback");
        return Void();
    }
    examine(callback->linkToDeath(this, 0));
    logDebug(kLogTag, "set callback");
    callbacks_.add(callback);
    return Void();
}

Return<void> HdmiAudio::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    platform::writeDump(fd, options, [this]() -> platform::ServiceState {
        const std::lock_guard<std::mutex> lock(mutex_);
        return {"HdmiAudio",
                {{"settings", describeCapabilityKeys()},
                 {"clients", {platform::number("callbacks", static_cast<int64_t>(callbacks_.size()))}}}};
    });
    return Void();
}

void HdmiAudio::serviceDied(uint64_t /*cookie*/, const wp<IBase>& who) {
    logError(kLogTag, "Monitored process died");
    // The second notice of a callback that was registered twice may find it destroyed.
    if (const sp<IBase> object = who.promote(); object != nullptr) removeCallback(object);
}

void HdmiAudio::notify(const hidl_vec<hidl_string>& applied) {
    std::vector<CallbackList::Callback> registered;
    {
        // The callbacks are called without the mutex: a client may register a callback from inside its own.
        const std::lock_guard<std::mutex> lock(mutex_);
        registered = callbacks_.copy();
    }
    if (registered.empty()) return;
    logDebug(kLogTag, "issue capability changed callback event");
    for (const auto& callback : registered) examine(callback->onCapabilityChanged(applied));
}

void HdmiAudio::removeCallback(const sp<IBase>& who) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (callbacks_.empty()) return;
    for (size_t removed = callbacks_.remove(who); removed > 0; --removed)
        logDebug(kLogTag, "remove callback");
    examine(who->unlinkToDeath(this));
}

}  // namespace com::tovi::dtv::hardware::audio::V3_1::implementation
