// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "parameter_kind.h"
#include "platform/state_dump.h"
#include "virtualizer_lock.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/** Describes the buffer and the upload of a kind, without the data. Any thread that holds the lock. */
std::vector<platform::StateItem> describeSlot(ParamType type) REQUIRES(virtualizerLock);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
