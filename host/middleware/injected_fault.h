// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>

namespace hidlaudio::host {

/** The output of a call with an injected fault. No key of the configuration store has this value. */
constexpr int32_t kGarbage = 0x5A5A5A5A;

/**
 * Records a call of `function`; `on` is the key, type or address that it concerns. Consumes one use of the
 * fault that is set on `function`. Returns the status that the function must return instead of working, or
 * `std::nullopt` if it must work. An unusable fault file is logged and gives kFailed, so that the mistake
 * does not stay unnoticed.
 */
std::optional<int32_t> injectedStatus(const char* function, const char* on = "");

}  // namespace hidlaudio::host
