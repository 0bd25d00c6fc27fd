// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "platform/state_dump.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/** Descriptions of the calibration for a state dump, without its results. Any thread. */

/** Describes the process-wide smooth delay. */
std::vector<platform::StateItem> describeSmoothDelay();

/** Describes the file of the switch, whose lock the caller holds. Does not create it. */
std::vector<platform::StateItem> describeEnabledFile();

/** Describes the file of the results, whose lock the caller holds. Does not create it. */
std::vector<platform::StateItem> describeResultsFile();

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
