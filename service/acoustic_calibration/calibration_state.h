// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "platform/state_dump.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/** Items for a state dump, without the calibration results. Any thread. */

/** Describes the process-wide smooth delay. */
std::vector<platform::StateItem> describeSmoothDelay();

/**
 * Describes the files of the switch and the results. Does not create them, and takes no lock: a file that is
 * being written may have unknown content.
 */
std::vector<platform::StateItem> describeFiles();

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
