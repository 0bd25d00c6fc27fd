// SPDX-License-Identifier: Apache-2.0
#include "eeprom.h"

#include "soc_middleware.h"

namespace com::tovi::dtv::hardware::audio::platform {

int32_t initEeprom() {
    const std::lock_guard lock(middlewareLock);
    // Required before MTEEPROM_Init; the result is not used.
    MTEEPROM_Property property{};
    MTEEPROM_GetProperty(&property);
    return MTEEPROM_Init();
}

int32_t readEepromByte(uint32_t address, uint8_t& byte) {
    const std::lock_guard lock(middlewareLock);
    // Read into a local variable: a failed call may overwrite its output.
    uint8_t stored = 0;
    const int32_t status = MTEEPROM_Read(address, &stored, sizeof(stored));
    if (status == 0) byte = stored;
    return status;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
