// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace hidlaudio::host {

/** The EEPROM of the TV at tvRoot(): the sparse file soc/eeprom.bin, one byte per address. */

constexpr uint32_t kEepromSize = 0x20000;

/** A byte that the daemon reads. */
struct EepromByte {
    const char* name;
    uint32_t address;
    uint8_t factoryValue;  // value of a TV without the feature
    uint8_t otherValue;    // value of a TV with the feature
    bool centre;           // feature: true: center speaker input, false: back-end controller
};

/** The segment code is a letter. TVs of segment S have a center speaker input. */
constexpr EepromByte kEepromBytes[] = {
    {"back_end", 0x1001A, 0, 1, false},
    {"segment", 0x10089, 'E', 'S', true},
    {"center_speaker_mode", 0x10116, 0, 1, true},
};

/** Reads the byte at an address. Returns 0, or an errno: ENODATA if the image ends before the address. */
int readEeprom(uint32_t address, uint8_t& byte);

/** Writes one byte; creates or extends the image if necessary. Returns 0, or an errno. */
int writeEeprom(uint32_t address, uint8_t byte);

/** Writes the image of a new TV. Returns 0, or an errno. */
int makeEeprom(bool backEnd, bool centreInput);

}  // namespace hidlaudio::host
