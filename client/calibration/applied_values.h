// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "calibration.h"

namespace hidlaudio::client {

/**
 * What a TV with a back-end controller makes of a channel: level and gains in whole tenths of
 * a dB, halves rounded away from zero, and the delay in whole samples at 48 kHz. Values are
 * within the service's limits.
 */
ChannelCalibration appliedValues(const ChannelCalibration& requested);

/** Whether the service, which gets floats, sees two different values. */
bool differs(double a, double b);

/** How many of a channel's level, delay and gains are not applied as they are requested. */
size_t countRounded(const ChannelCalibration& requested);

}  // namespace hidlaudio::client
