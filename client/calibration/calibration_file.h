// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "calibration.h"

namespace hidlaudio::client {

/**
 * A calibration file: [{"channel":"FL","level":-3.0,"delay":1.5,"equalizer":[31 gains]}, ...],
 * at most 9 channels, each with these four keys and no other. Every fault of the text is
 * found, with line or JSON pointer, channel and band; limits of values are not checked.
 * Takes time and memory in proportion to the text.
 */
Reading readCalibrationFile(std::string_view text);

/** The text of such a file; channels without a UTF-8 name get U+FFFD. */
std::string writeCalibrationFile(const Calibration& calibration);

}  // namespace hidlaudio::client
