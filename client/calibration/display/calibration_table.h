// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/calibration/calibration.h"

namespace hidlaudio::client {

/**
 * Returns a table of the values that are rounded when they are applied: one line per level, delay or band,
 * with the requested and the applied value. Channels with the same values share a column. Returns an empty
 * string if no value is rounded.
 */
std::string roundingTable(const Calibration& calibration);

/** Returns one line per channel: its level, its delay, the range of its gains, and useOf(). */
std::string summarize(const Calibration& calibration);

/** Returns which values of the channel the TV uses, as the end of a sentence; empty if it uses all. */
std::string useOf(const std::string& channel);

}  // namespace hidlaudio::client
