// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::client {

/**
 * Prints the errors that the HIDL runtime logs to standard error, as messages of this program, and drops the
 * rest of its log. Call it before the first HIDL call.
 */
void showOnlyErrorsOfLog();

}  // namespace hidlaudio::client
