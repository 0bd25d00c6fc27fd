// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "host/program/command.h"

namespace hidlaudio::client {

/**
 * The parts of `audioctl` that differ between a workstation and a TV. workstation/ and tv/ each implement all
 * of them, and addMonitor(); a build compiles one of the two folders.
 */

/** Adds the option that selects a virtual TV. */
void addTvOption(host::Command app);

/** Returns why the TV cannot be used, or an empty string if it can. */
std::string problemOfTv();

/** Returns the end of the message "SERVICE is not registered": the TV, and what to do. */
std::string hintForMissingService();

/**
 * Adds the parts of a bug report that describe the TV without its services, "logs" and "tv_state". A part
 * that cannot be read within `seconds` is replaced by {"error": ...}.
 */
void addDiagnostics(double seconds, nlohmann::ordered_json& report);

}  // namespace hidlaudio::client
