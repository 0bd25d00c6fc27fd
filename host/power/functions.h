// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace hidlaudio::host {

/** The functions of libpower that have fault files, soc/faults/<function>. A negative status is a failure. */
constexpr std::string_view kPowerFunctions[] = {"acquire_wake_lock", "release_wake_lock"};

}  // namespace hidlaudio::host
