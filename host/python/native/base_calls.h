// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "channel.h"
#include "host/hidl_json/interface.h"

namespace hidlaudio::python {

/** Calls a method that every object has: "ping", "descriptor", "chain" or "debug". Returns the reply. */
Json callBase(const std::string& operation, hidl_json::IBase& object, const Json& request);

}  // namespace hidlaudio::python
