// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "client/invocation.h"

namespace hidlaudio::client {

/**
 * Prints each change of the HDMI capabilities that a client makes, one per line, until SIGINT or SIGTERM ends
 * the process with kDone. If the service dies, waits until it is registered again and continues; reports both
 * on standard error. Returns only after an error, with its exit status. Call it on the main thread.
 */
int watchHdmi(const Invocation& invocation);

}  // namespace hidlaudio::client
