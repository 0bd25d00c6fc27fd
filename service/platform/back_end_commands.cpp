// SPDX-License-Identifier: Apache-2.0
#include "back_end_commands.h"

#include <string.h>

#include "back_end_record.h"
#include "log.h"
#include "middleware_session.h"
#include "readiness.h"
#include "soc_middleware.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

constexpr char kCalibrationTag[] = "AudioAC";
constexpr char kVirtualizerTag[] = "AudioHV";

/** Logs a wait that has failed in the name of the command that it was for. */
int32_t checkReady(int32_t result, const char* tag, const char* command) {
    if (result != 0) logError(tag, "[%s] BECtrl Boot failed [TimeOut].", command);
    return result;
}

int32_t send(const bectrl_cust_spec_record& record) {
    const std::lock_guard lock(middlewareLock);
    return MTDRVCUST_dcustom_cust_spec_set(kBeCtrlSetIdentifier, &record, sizeof(record), 0);
}

}  // namespace

int32_t awaitSetEnabledToBeCtrl() {
    return checkReady(checkDtvSvcBootForHV(), kVirtualizerTag, "setEnabledToBeCtrl");
}

int32_t setEnabledToBeCtrl(uint8_t type, bool enable) {
    bectrl_cust_spec_record record{};
    record.type = type;
    record.payloadLength = 1;
    record.payload[0] = enable ? 1 : 0;
    if (const int32_t status = openMiddleware(MiddlewareUser::SetEnabledToBeCtrl); status != 0) return status;
    const int32_t status = send(record);
    if (status != 0) {
        logError(kVirtualizerTag, "[%s] MTDRVCUST_dcustom_cust_spec_set failed!!(%d) type:%x", __func__,
                 status, static_cast<unsigned>(type));
    }
    return status;
}

int32_t awaitSetCalibratedDataToBeCtrl() {
    return checkReady(checkDtvSvcBoot(), kCalibrationTag, "setCalibratedDataToBeCtrl");
}

int32_t setCalibratedDataToBeCtrl(const void* block) {
    bectrl_cust_spec_record record{};
    record.type = BECTRL_SPEC_AC_DATA;
    record.payloadLength = kCalibrationBlockSize;
    memcpy(record.payload, block, kCalibrationBlockSize);
    openMiddleware(MiddlewareUser::SetCalibratedDataToBeCtrl);
    const int32_t status = send(record);
    if (status != 0) {
        logError(kCalibrationTag, "[%s] MTDRVCUST_dcustom_cust_spec_set failed!!(%d)", __func__, status);
    }
    return status;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
