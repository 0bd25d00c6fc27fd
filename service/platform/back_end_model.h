// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::platform {

/** How a caller checks the model, and its log messages. */
struct BackEndModelCheck {
    const char* tag;
    bool unknownModel;        // the result if the EEPROM cannot be read
    const char* initFailure;  // logged if the EEPROM cannot be initialized
    const char* readFailure;  // logged if the EEPROM cannot be read
};

/** Returns whether the TV has a back-end audio controller. Reads the EEPROM at each call. Any thread. */
bool hasBackEnd(const BackEndModelCheck& check);

}  // namespace com::tovi::dtv::hardware::audio::platform
