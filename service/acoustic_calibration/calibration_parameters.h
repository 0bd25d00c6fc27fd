// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/3.0/types.h>
#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * Reads the settings of the room measurement from the tuning file. The values are not checked. Any thread.
 *
 * @param function function name printed in the log
 * @return 0, or -1 if the file cannot be read or is too short, which is logged; `parameters` is unchanged
 *     then
 */
int32_t readCalibrationParameters(const char* function, V3_0::calibrationParameters& parameters);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
