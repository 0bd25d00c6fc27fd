// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "client/calibration/calibration.h"
#include "client/calibration/calibration_limits.h"
#include "equalizer_text.h"

namespace hidlaudio::client {

/**
 * Reads a calibration file or an equalizer's text, whichever `text` is, and applies the
 * limits. The options are for equalizers: a calibration file that is given any has a fault.
 * Takes any bytes.
 */
Reading importCalibration(std::string_view text, const TextOptions& options, BeyondLimit beyond);

}  // namespace hidlaudio::client
