// SPDX-License-Identifier: Apache-2.0
#include "middleware_session.h"

#include <stddef.h>

#include "log.h"
#include "soc_middleware.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

REQUIRES(middlewareLock) int32_t openAlone() {
    return MTAL_InitExCb(nullptr);
}

REQUIRES(middlewareLock) int32_t openWithPlaybackControl() {
    IMtkPb_Ctrl_Init();
    return openAlone();
}

REQUIRES(middlewareLock) int32_t openWithDrivers() {
    DRV_Init();
    return MTAL_Init();
}

/** One user's opening. Where a text is null, it is not logged. */
struct Opening {
    int32_t (*open)();
    const char* tag;
    const char* failure;
    const char* failureEnd;  // follows the status; null where the status is not logged
    const char* success;
};

constexpr char kCalibrationTag[] = "AudioAC";
constexpr char kVirtualizerTag[] = "AudioHV";

/** In the order of MiddlewareUser. */
constexpr Opening kOpenings[] = {
    {openWithPlaybackControl, "hdmiaudio", "ERROR: HdmiAudio MTAL_Init.... , r = ", " \n",
     "HdmiAudio mtal open success"},
    {openWithPlaybackControl, kNoTag, "ERROR: OutputExternal MTAL_Init.... , r = ", " \n",
     "OutputExternal mtal open success"},
    {openWithPlaybackControl, "AudioOutSp", "ERROR: OutputSpeaker MTAL_Init.... , r = ", " \n",
     "OutputSpeaker mtal open success"},
    {openWithDrivers, kNoTag, "[CenterSpeaker] MTAL_Init fail.", nullptr, nullptr},
    {openWithDrivers, kNoTag, nullptr, nullptr, nullptr},
    {openWithDrivers, kNoTag, nullptr, nullptr, nullptr},
    {openAlone, kCalibrationTag, "[checkBeCtrlBoot] AC MTAL_Init failed, ret = ", " ", nullptr},
    {openAlone, kCalibrationTag, "[setCalibratedDataToBeCtrl] AC MTAL_Init failed, ret = ", " ", nullptr},
    {openAlone, kVirtualizerTag, "[checkBeCtrlBootForHV] HV MTAL_Init failed, Return:", " ", nullptr},
    {openAlone, kVirtualizerTag, "[setEnabledToBeCtrl] HV MTAL_Init failed, Return:", " ", nullptr},
};

void logFailure(const Opening& opening, int32_t status) {
    if (opening.failure == nullptr) return;
    if (opening.failureEnd == nullptr) {
        logError(opening.tag, "%s", opening.failure);
    } else {
        logError(opening.tag, "%s%d%s", opening.failure, status, opening.failureEnd);
    }
}

}  // namespace

int32_t openMiddleware(MiddlewareUser user) {
    const Opening& opening = kOpenings[static_cast<size_t>(user)];
    const int32_t status = [&] {
        const std::lock_guard lock(middlewareLock);
        return opening.open();
    }();
    if (status != 0) {
        logFailure(opening, status);
    } else if (opening.success != nullptr) {
        logDebug(opening.tag, "%s", opening.success);
    }
    return status;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
