// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "headphone_virtualizer/parameter_kind.h"
#include "platform/state_dump.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/**
 * How a kind's buffer and its upload stand, without a word of what is in it. An upload
 * that has ended is not tidied up by being looked at. On the thread that serves all calls.
 */
std::vector<platform::StateItem> describeSlot(ParamType type);

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
