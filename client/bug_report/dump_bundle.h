// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/invocation.h"

namespace hidlaudio::client {

/**
 * Writes a bug report as one JSON file, which is replaced: versions; the services with their processes,
 * interface hashes and states; the last lines of the logs; the state of the TV. A part that cannot be read is
 * replaced by an error message.
 *
 * @return the exit status: kDone if all services are complete and the file is written
 */
int writeDumpBundle(const Invocation& invocation, const std::string& path);

}  // namespace hidlaudio::client
