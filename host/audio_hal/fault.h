// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/types.h>

#include <optional>

namespace hidlaudio::host {

/**
 * Records a call of `operation`; `on` is the key that it concerns. Consumes one use of the fault that is set
 * on `operation`. Returns the Result that the operation must return instead of working, or `std::nullopt` if
 * it must work. Logs the injected Result. An unusable fault file is logged and gives INVALID_STATE, so that
 * the mistake does not stay unnoticed.
 */
std::optional<android::hardware::audio::V5_0::Result> injectedResult(const char* operation,
                                                                     const char* on = "");

}  // namespace hidlaudio::host
