// SPDX-License-Identifier: Apache-2.0
#include "back_end.h"

#include <string.h>

#include "log_tag.h"
#include "platform/back_end_boot.h"
#include "platform/back_end_commands.h"
#include "platform/back_end_model.h"
#include "platform/log.h"
#include "platform/readiness.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {
namespace {

using platform::logError;
using platform::MiddlewareSession;

constexpr platform::DtvSvcWait kReadiness{kLogTag,
                                          10,
                                          nullptr,
                                          platform::kDtvSvcReady,
                                          -1,
                                          ANDROID_LOG_ERROR,
                                          "[checkDtvSvcBoot] dtv_svc rpc server failed [TimeOut]."};
constexpr platform::BackEndModelCheck kModel{kLogTag, true, "[isBeModel] Eeprom init fail.",
                                             "[isBeModel] Eeprom read fail."};
constexpr platform::BackEndBootWait kBoot{kLogTag,
                                          "checkBeCtrlBoot",
                                          {MiddlewareSession::ConnectionOnly, kLogTag,
                                           "[checkBeCtrlBoot] AC MTAL_Init failed, ret = ", " ", nullptr}};
constexpr platform::MiddlewareOpening kOpening{MiddlewareSession::ConnectionOnly, kLogTag,
                                               "[setCalibratedDataToBeCtrl] AC MTAL_Init failed, ret = ", " ",
                                               nullptr};

}  // namespace

int32_t checkDtvSvcBoot() {
    return waitForDtvSvc(kReadiness);
}

bool isBeModel() {
    return hasBackEnd(kModel);
}

int32_t checkBeCtrlBoot() {
    return waitForBackEndBoot(kBoot);
}

int32_t awaitSetCalibratedDataToBeCtrl() {
    const int32_t result = checkDtvSvcBoot();
    if (result != 0) logError(kLogTag, "[setCalibratedDataToBeCtrl] BECtrl Boot failed [TimeOut].");
    return result;
}

int32_t setCalibratedDataToBeCtrl(const void* block) {
    platform::bectrl_cust_spec_record record{};
    record.type = platform::BECTRL_SPEC_AC_DATA;
    record.payloadLength = kCalibrationBlockSize;
    memcpy(record.payload, block, kCalibrationBlockSize);
    openMiddleware(kOpening);
    const int32_t status = sendToBackEnd(record);
    if (status != 0) {
        logError(kLogTag, "[%s] MTDRVCUST_dcustom_cust_spec_set failed!!(%d)", __func__, status);
    }
    return status;
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
