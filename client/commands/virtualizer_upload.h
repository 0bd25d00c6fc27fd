// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "client/invocation.h"

namespace hidlaudio::client {

/** Adds `audioctl virtualizer upload`. `parent` is `audioctl virtualizer`. */
void addVirtualizerUpload(CLI::App* parent, Invocation& invocation);

}  // namespace hidlaudio::client
