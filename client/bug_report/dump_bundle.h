// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/invocation.h"

namespace hidlaudio::client {

/**
 * Writes all that a bug report needs into a file, which is replaced: versions, the
 * services with their processes, interface hashes and states, the ends of the logs, the
 * TV's state. What cannot be had is named in its place and does not keep out the rest.
 * One JSON file: a person reads it in any editor, a program takes what it needs, and no
 * part gets lost on the way.
 *
 * @return the exit status: kDone where the file is complete
 */
int writeDumpBundle(const Invocation& invocation, const std::string& path);

}  // namespace hidlaudio::client
