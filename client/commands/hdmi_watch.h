// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "client/invocation.h"

namespace hidlaudio::client {

/**
 * Prints each change of the HDMI capabilities that some client makes, one a line, until
 * the process gets SIGINT or SIGTERM, which end it with kDone. Where the service ends,
 * waits for the next one and goes on with that; both are told on standard error. Returns
 * only where it cannot go on, with the exit status of that. Main thread.
 */
int watchHdmi(const Invocation& invocation);

}  // namespace hidlaudio::client
