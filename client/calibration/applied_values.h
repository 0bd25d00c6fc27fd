// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "calibration.h"

namespace hidlaudio::client {

/**
 * Returns the values that a TV with a back-end controller applies: level and gains rounded to 0.1 dB, halves
 * away from zero, and the delay rounded to samples at 48 kHz. The requested values must be within the
 * service's limits.
 */
ChannelCalibration appliedValues(const ChannelCalibration& requested);

/** Returns whether the values differ as floats, the type in which the service receives them. */
bool differs(double a, double b);

}  // namespace hidlaudio::client
