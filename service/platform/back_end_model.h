// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::platform {

/** How a caller checks the model, and what it logs. */
struct BackEndModelCheck {
    const char* tag;
    bool unknownModel;  // the answer if the EEPROM cannot be read
    const char* initFailure;
    const char* readFailure;
};

/** Whether the TV has a back-end audio controller. Reads the EEPROM each time. Any thread. */
bool hasBackEnd(const BackEndModelCheck& check);

}  // namespace com::tovi::dtv::hardware::audio::platform
