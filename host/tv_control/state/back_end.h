// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/**
 * Resets the back-end controller of the TV at tvRoot() to idle, its state after power-on. Returns 0, or an
 * errno with the path in `failed`.
 */
int makeBackEndIdle(std::string& failed);

}  // namespace hidlaudio::host
