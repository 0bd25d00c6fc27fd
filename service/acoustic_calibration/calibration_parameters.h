// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/3.0/types.h>
#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * Reads the settings of the room measurement from the tuning file as it is now. Its
 * values are handed on unchecked. Any thread.
 *
 * @return 0; or -1, logged in the name of `function`, where the file cannot be read or
 *     ends too early: `parameters` are then unchanged
 */
int32_t readCalibrationParameters(const char* function, V3_0::calibrationParameters& parameters);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
