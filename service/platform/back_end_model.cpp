// SPDX-License-Identifier: Apache-2.0
#include "back_end_model.h"

#include "eeprom.h"
#include "log.h"
#include "middleware_session.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

constexpr uint32_t kBackEndFlagAddress = 0x1001A;

struct ModelCheck {
    MiddlewareUser user;
    const char* tag;
    bool unknownModel;  // the answer where the EEPROM cannot be read
    const char* initFailure;
    const char* readFailure;
};

constexpr ModelCheck kCalibrationCheck{MiddlewareUser::IsBeModel, "AudioAC", true,
                                       "[isBeModel] Eeprom init fail.", "[isBeModel] Eeprom read fail."};
constexpr ModelCheck kVirtualizerCheck{MiddlewareUser::IsBeModelForHV, "AudioHV", false,
                                       "[isBeModelForHV] Eeprom init failed.",
                                       "[isBeModelForHV] Eeprom read failed."};

bool run(const ModelCheck& check) {
    if (openMiddleware(check.user) != 0) return check.unknownModel;
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

}  // namespace

bool isBeModel() {
    return run(kCalibrationCheck);
}

bool isBeModelForHV() {
    return run(kVirtualizerCheck);
}

}  // namespace com::tovi::dtv::hardware::audio::platform
