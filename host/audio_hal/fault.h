// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/types.h>

#include <optional>

namespace hidlaudio::host {

/**
 * Records a call of `operation`, which is about `on`, and uses up one time of the fault that was set on
 * `operation` and logs it: the Result that the operation must answer instead of working; nothing where none
 * was set. A fault file that cannot be used makes the operation fail with INVALID_STATE: whoever wrote it
 * wanted no success.
 */
std::optional<android::hardware::audio::V5_0::Result> injectedResult(const char* operation,
                                                                     const char* on = "");

}  // namespace hidlaudio::host
