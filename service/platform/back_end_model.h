// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Whether the TV has a back-end audio controller, which its EEPROM tells. Each asks
 * the EEPROM anew and logs what fails. Any thread.
 */

/** The acoustic calibration's check: a TV whose EEPROM cannot be read has one. */
bool isBeModel();

/** The headphone virtualizer's check: a TV whose EEPROM cannot be read has none. */
bool isBeModelForHV();

}  // namespace com::tovi::dtv::hardware::audio::platform
