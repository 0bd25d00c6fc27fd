// SPDX-License-Identifier: Apache-2.0
#include "middleware_session.h"

#include "log.h"
#include "soc_middleware.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

REQUIRES(middlewareLock) int32_t open(MiddlewareSession session) {
    switch (session) {
        case MiddlewareSession::PlaybackControl:
            IMtkPb_Ctrl_Init();
            break;
        case MiddlewareSession::Drivers:
            DRV_Init();
            return MTAL_Init();
        case MiddlewareSession::ConnectionOnly:
            break;
    }
    return MTAL_InitExCb(nullptr);
}

void logFailure(const MiddlewareOpening& opening, int32_t status) {
    if (opening.failure == nullptr) return;
    if (opening.failureEnd == nullptr) {
        logError(opening.tag, "%s", opening.failure);
    } else {
        logError(opening.tag, "%s%d%s", opening.failure, status, opening.failureEnd);
    }
}

}  // namespace

int32_t openMiddleware(const MiddlewareOpening& opening) {
    const int32_t status = [&] {
        const std::lock_guard lock(middlewareLock);
        return open(opening.session);
    }();
    if (status != 0) {
        logFailure(opening, status);
    } else if (opening.success != nullptr) {
        logDebug(opening.tag, "%s", opening.success);
    }
    return status;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
