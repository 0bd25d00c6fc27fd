// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/calibration/calibration.h"

namespace hidlaudio::client {

/** Properties of the terminal. */
struct Terminal {
    size_t columns = 80;
    bool utf8 = true;  // if false, use ASCII only
};

/**
 * Returns the gains of a channel as bars above and below a 0 dB line, with a scale in dB on the left and the
 * frequencies below. The plot is as wide as the terminal allows, but at least 38 columns. "?" marks a gain
 * that is NaN or infinite.
 */
std::string plotGains(const Gains& gains, const Terminal& terminal);

/** Returns the upper end of the scale in dB: the first of 3, 6, 9, 18, ... that covers all finite gains. */
double scaleOf(const Gains& gains);

}  // namespace hidlaudio::client
