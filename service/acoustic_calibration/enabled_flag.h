// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * The file that keeps over a restart whether the calibration is on: one byte, 1 for on. Any other value is
 * off.
 *
 * One call at a time: the caller holds the lock of the file. Failures are logged.
 */

/** Path of the file. The init script creates its folder. */
constexpr char kEnabledFile[] = "/data/vendor/tovi/hidlaudio/aud_ac_enabled.data";

constexpr uint8_t kCalibrationOff = 0;
constexpr uint8_t kCalibrationOn = 1;

/**
 * Reads the file at the start of the service. If it cannot be opened, creates it with kCalibrationOff.
 *
 * @return the byte, 0 to 255 (0 for a new file), or -1 if the file cannot be read, created or written
 */
int32_t getEnabledOnBoot();

/**
 * Returns whether the calibration is on; false if the file cannot be read. `function` is the function name
 * printed in the log.
 */
bool readEnabledData(const char* function);

/** Rewrites the file. Returns 0, or -1 if the file could not be opened or written. */
int32_t setEnabledData(bool enable);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
