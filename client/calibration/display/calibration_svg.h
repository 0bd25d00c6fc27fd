// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/calibration/calibration.h"

namespace hidlaudio::client {

/**
 * Returns an SVG picture of the gains of all channels: one curve per channel over the third octaves, with
 * labeled axes and a legend. It is well-formed for any names and values. NaN and infinite gains are left out.
 */
std::string drawCalibration(const Calibration& calibration);

}  // namespace hidlaudio::client
