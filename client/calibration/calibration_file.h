// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "calibration.h"

namespace hidlaudio::client {

/**
 * Parses a calibration file: [{"channel":"FL","level":-3.0,"delay":1.5,"equalizer":[31 gains]}, ...],
 * at most 9 channels, each with exactly these four keys. Reports a syntax error with line and column, all
 * other faults with JSON pointer, channel and band. Does not check the limits of values. Takes time and
 * memory in proportion to the size of the text.
 */
Reading readCalibrationFile(std::string_view text);

/** Returns the text of a calibration file. Invalid UTF-8 in channel names is replaced by U+FFFD. */
std::string writeCalibrationFile(const Calibration& calibration);

}  // namespace hidlaudio::client
