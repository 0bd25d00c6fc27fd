// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/calibration/calibration.h"

namespace hidlaudio::client {

/**
 * The values that are not applied as they are requested, side by side, a line a level, delay
 * or band; channels with the same values share a column. "" where there are none.
 */
std::string roundingTable(const Calibration& calibration);

/** A line a channel: its level, its delay and the range of its gains. */
std::string summarize(const Calibration& calibration);

/** What the TV uses of a channel of that name, to be added to a sentence; "" for all of it. */
std::string useOf(const std::string& channel);

}  // namespace hidlaudio::client
