// SPDX-License-Identifier: Apache-2.0
#include "back_end.h"

#include "log_tag.h"
#include "platform/back_end_boot.h"
#include "platform/back_end_commands.h"
#include "platform/back_end_model.h"
#include "platform/log.h"
#include "platform/readiness.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {
namespace {

using platform::logError;
using platform::MiddlewareSession;

constexpr platform::DtvSvcWait kReadiness{
    kLogTag,
    10,
    nullptr,
    "[checkDtvSvcBootForHV] <<<<<hidlaudio dtv_svc is ready !>>>>> count:",
    -5,
    ANDROID_LOG_ERROR,
    "[checkDtvSvcBootForHV] dtv_svc rpc server failed [TimeOut]."};
constexpr platform::BackEndModelCheck kModel{kLogTag, false, "[isBeModelForHV] Eeprom init failed.",
                                             "[isBeModelForHV] Eeprom read failed."};
constexpr platform::BackEndBootWait kBoot{
    kLogTag,
    "checkBeCtrlBootForHV",
    {MiddlewareSession::ConnectionOnly, kLogTag, "[checkBeCtrlBootForHV] HV MTAL_Init failed, Return:", " ",
     nullptr}};
constexpr platform::MiddlewareOpening kOpening{MiddlewareSession::ConnectionOnly, kLogTag,
                                               "[setEnabledToBeCtrl] HV MTAL_Init failed, Return:", " ",
                                               nullptr};

}  // namespace

int32_t checkDtvSvcBootForHV() {
    return waitForDtvSvc(kReadiness);
}

bool isBeModelForHV() {
    return hasBackEnd(kModel);
}

int32_t checkBeCtrlBootForHV() {
    return waitForBackEndBoot(kBoot);
}

int32_t awaitSetEnabledToBeCtrl() {
    const int32_t result = checkDtvSvcBootForHV();
    if (result != 0) logError(kLogTag, "[setEnabledToBeCtrl] BECtrl Boot failed [TimeOut].");
    return result;
}

int32_t setEnabledToBeCtrl(uint8_t type, bool enable) {
    platform::bectrl_cust_spec_record record{};
    record.type = type;
    record.payloadLength = 1;
    record.payload[0] = enable ? 1 : 0;
    if (const int32_t status = openMiddleware(kOpening); status != 0) return status;
    const int32_t status = sendToBackEnd(record);
    if (status != 0) {
        logError(kLogTag, "[%s] MTDRVCUST_dcustom_cust_spec_set failed!!(%d) type:%x", __func__, status,
                 static_cast<unsigned>(type));
    }
    return status;
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
