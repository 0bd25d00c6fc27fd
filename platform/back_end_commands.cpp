// SPDX-License-Identifier: Apache-2.0
#include "platform/back_end_commands.h"

#include <string.h>

#include "platform/back_end_record.h"
#include "platform/log.h"
#include "platform/middleware_session.h"
#include "platform/readiness.h"
#include "platform/soc_middleware.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

constexpr char kCalibrationTag[] = "AudioAC";
constexpr char kVirtualizerTag[] = "AudioHV";

void logNotReady(const char* tag, const char* function) {
    logError(tag, "[%s] BECtrl Boot failed [TimeOut].", function);
}

int32_t send(const bectrl_cust_spec_record& record) {
    return MTDRVCUST_dcustom_cust_spec_set(kBeCtrlSetIdentifier, &record, sizeof(record), 0);
}

}  // namespace

int32_t setEnabledToBeCtrl(uint8_t type, bool enable) {
    if (const int32_t result = checkDtvSvcBootForHV(); result != 0) {
        logNotReady(kVirtualizerTag, __func__);
        return result;
    }
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

int32_t setCalibratedDataToBeCtrl(const void* block) {
    if (const int32_t result = checkDtvSvcBoot(); result != 0) {
        logNotReady(kCalibrationTag, __func__);
        return result;
    }
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
