// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/calibration/calibration.h"

namespace hidlaudio::client {

/** What a terminal can show. */
struct Terminal {
    size_t columns = 80;
    bool utf8 = true;  // else ASCII
};

/**
 * The gains of a channel as bars over and under a line at 0 dB, with a scale in dB on the left
 * and the bands' frequencies below. As wide as the terminal allows, but at least 38 columns.
 * "?" stands for a gain that is no number.
 */
std::string plotGains(const Gains& gains, const Terminal& terminal);

/** The scale for gains: the dB at its upper end, of 3, 6, 9 and so on. */
double scaleOf(const Gains& gains);

}  // namespace hidlaudio::client
