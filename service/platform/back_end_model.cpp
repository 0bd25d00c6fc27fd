// SPDX-License-Identifier: Apache-2.0
#include "back_end_model.h"

#include "eeprom.h"
#include "log.h"
#include "middleware_session.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

constexpr uint32_t kBackEndFlagAddress = 0x1001A;

constexpr MiddlewareOpening kOpening{MiddlewareSession::Drivers, kNoTag, nullptr, nullptr, nullptr};

}  // namespace

bool hasBackEnd(const BackEndModelCheck& check) {
    if (openMiddleware(kOpening) != 0) return check.unknownModel;
    if (initEeprom() != 0) {
        logError(check.tag, "%s", check.initFailure);
        return check.unknownModel;
    }
    uint8_t flag = 0;
    if (readEepromByte(kBackEndFlagAddress, flag) != 0) {
        logError(check.tag, "%s", check.readFailure);
        return check.unknownModel;
    }
    return flag != 0;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
