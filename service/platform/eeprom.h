// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * The TV's EEPROM, which tells what the model has. The factory writes it; the daemon
 * only reads, single bytes. Any thread, with the middleware opened along with the
 * driver layer.
 */

/** Makes the EEPROM ready to be read; before the first read of a routine. The middleware's status, 0 for
 * success. */
int32_t initEeprom();

/** Reads the byte at `address`. The middleware's status, 0 for success; `byte` changes only then. */
int32_t readEepromByte(uint32_t address, uint8_t& byte);

}  // namespace com::tovi::dtv::hardware::audio::platform
