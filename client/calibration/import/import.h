// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "client/calibration/calibration.h"
#include "client/calibration/calibration_limits.h"
#include "equalizer_text.h"

namespace hidlaudio::client {

/**
 * Parses a calibration file or an equalizer text, detected from its first character, and applies the limits.
 * The options are for equalizer texts; with a calibration file, they are a fault. `text` may be any bytes.
 */
Reading importCalibration(std::string_view text, const TextOptions& options, BeyondLimit beyond);

}  // namespace hidlaudio::client
