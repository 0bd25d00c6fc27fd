// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace hidlaudio::host {

/** The functions of libpower that a status can be set on, in soc/faults/<function>: below 0, a failure. */
constexpr std::string_view kPowerFunctions[] = {"acquire_wake_lock", "release_wake_lock"};

}  // namespace hidlaudio::host
