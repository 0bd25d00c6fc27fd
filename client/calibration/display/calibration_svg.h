// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/calibration/calibration.h"

namespace hidlaudio::client {

/**
 * A picture of the gains of all channels: a curve each over the third octaves, with labelled
 * axes and a legend. Complete, well-formed SVG, whatever the names and values are; gains that
 * are no numbers are left out.
 */
std::string drawCalibration(const Calibration& calibration);

}  // namespace hidlaudio::client
