// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>

namespace hidlaudio::host {

/**
 * Records a call of `function`, which is about `on`. The status that was set on `function` and that it must
 * return instead of working; nothing where none was set. A fault file that cannot be used is logged and makes
 * the function fail: whoever wrote it wanted no success.
 */
std::optional<int32_t> injectedStatus(const char* function, const char* on = "");

}  // namespace hidlaudio::host
