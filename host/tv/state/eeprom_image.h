// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace hidlaudio::host {

/** The EEPROM of the TV at tvRoot(): the sparse file soc/eeprom.bin, a byte an address. */

constexpr uint32_t kEepromSize = 0x20000;

/** A byte that the daemon reads. */
struct EepromByte {
    const char* name;
    uint32_t address;
    uint8_t factoryValue;  // of a standard TV
    uint8_t otherValue;    // of one that has what the byte is about
    bool centre;           // about the centre speaker input; else about the back-end controller
};

/** The segment code is a letter; S is one of those with a centre speaker input. */
constexpr EepromByte kEepromBytes[] = {
    {"back_end", 0x1001A, 0, 1, false},
    {"segment", 0x10089, 'E', 'S', true},
    {"center_speaker_mode", 0x10116, 0, 1, true},
};

/** Reads the byte of an address. Returns 0, or an errno; ENODATA where the image ends before it. */
int readEeprom(uint32_t address, uint8_t& byte);

/** Writes one byte in place; an image that is missing or shorter grows. Returns 0, or an errno. */
int writeEeprom(uint32_t address, uint8_t byte);

/** Makes the image of a new TV. Returns 0, or an errno. */
int makeEeprom(bool backEnd, bool centreInput);

}  // namespace hidlaudio::host
