// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * The file that keeps over a restart whether the calibration is on: one byte, 1 for on.
 * Any other is off.
 *
 * One call at a time: the caller holds the lock of the file. What goes wrong is logged.
 */

/** Where it lies. Its folder is there already. */
constexpr char kEnabledFile[] = "/data/vendor/tovi/hidlaudio/aud_ac_enabled.data";

constexpr uint8_t kCalibrationOff = 0;
constexpr uint8_t kCalibrationOn = 1;

/**
 * The byte, 0 to 255, or -1 where it cannot be read. Where there is no file this makes
 * one that says off.
 */
int32_t getEnabledOnBoot();

/** Whether the file says on; false also where it cannot be read. In the log it is `function` that asks. */
bool readEnabledData(const char* function);

/** Writes the file anew. 0, or -1 where it may not hold the byte. */
int32_t setEnabledData(bool enable);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
