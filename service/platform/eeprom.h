// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * The TV's EEPROM, which describes the hardware of the model. The factory writes it; the daemon only
 * reads single bytes. Any thread, after the middleware was opened with MiddlewareSession::Drivers.
 */

/**
 * Prepares the EEPROM for reading. A function calls it before its first read. Returns the middleware's
 * status, 0 for success.
 */
int32_t initEeprom();

/**
 * Reads the byte at `address`. Returns the middleware's status, 0 for success. `byte` changes only on
 * success.
 */
int32_t readEepromByte(uint32_t address, uint8_t& byte);

}  // namespace com::tovi::dtv::hardware::audio::platform
