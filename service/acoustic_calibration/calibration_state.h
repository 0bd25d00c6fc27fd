// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "platform/state_dump.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/** Items for a state dump, without the calibration results. Any thread. */

/** Describes the process-wide smooth delay. */
std::vector<platform::StateItem> describeSmoothDelay();

/** Describes the file of the switch. Does not create it. The caller holds the file's lock. */
std::vector<platform::StateItem> describeEnabledFile();

/** Describes the file of the results. Does not create it. The caller holds the file's lock. */
std::vector<platform::StateItem> describeResultsFile();

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
