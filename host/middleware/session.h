// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

/**
 * Returns whether MTAL_InitExCb() or MTAL_Init() has succeeded in this process. The connection stays open
 * even if a later call of these functions fails.
 */
bool isConnected();

}  // namespace hidlaudio::host
