// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "calibration.h"

namespace hidlaudio::client {

/** Returns an error message if the service cannot store the channel name, or else an empty string. */
std::string checkChannelName(std::string_view name);

/** Treatment of levels and gains beyond -9 dB to 9 dB. */
enum class BeyondLimit { Refuse, Clamp };

/** How messages locate a value, in addition to its channel and band. */
enum class Place { None, JsonPointer };

/**
 * Checks the values against the limits of the service. Adds a fault for each value beyond them, or a note if
 * it is clamped. Delays are never clamped, because that would change the delay between the channels.
 */
void applyLimits(Reading& reading, BeyondLimit beyond, Place place);

}  // namespace hidlaudio::client
