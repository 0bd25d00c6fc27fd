// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "calibration.h"

namespace hidlaudio::client {

/** What is done about levels and gains that are beyond 9 dB either way. */
enum class BeyondLimit { Refuse, Clamp };

/** How messages name the place of a value besides its channel and band. */
enum class Place { None, JsonPointer };

/**
 * Holds what was read against the limits of the service: a fault for each value beyond them,
 * or a note where it is clamped. A delay is never clamped: that would put the channels out of
 * step with each other.
 */
void applyLimits(Reading& reading, BeyondLimit beyond, Place place);

}  // namespace hidlaudio::client
