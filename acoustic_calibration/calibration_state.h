// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "platform/state_dump.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/** What can be told of the calibration without a word of its results. On the thread that serves all calls. */

/** The process's smooth delay. */
std::vector<platform::StateItem> describeSmoothDelay();

/** The two files as they are; makes none. */
std::vector<platform::StateItem> describeCalibrationFiles();

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
