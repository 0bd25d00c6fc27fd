// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::client {

/**
 * Shows the HIDL runtime's errors on standard error as this program's own, and nothing
 * else of its log. Before the first HIDL call.
 */
void showOnlyErrorsOfLog();

}  // namespace hidlaudio::client
