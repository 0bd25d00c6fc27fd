// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

/**
 * Whether this process has opened a connection with success, by either of its two
 * ways. It then stays open: a later failing opening does not close it.
 */
bool isConnected();

}  // namespace hidlaudio::host
