// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "client/services/known_services.h"
#include "client/terminal/report.h"

namespace hidlaudio::client {

/** More than this is no state that anybody reads; the rest is left out. */
constexpr size_t kLargestState = 1 << 20;

/** What a service told of itself. */
struct ServiceDump {
    int status = kDone;               // why there is nothing (more): kRefused, kNoService or kTimedOut
    std::string error;                // the same in words; empty for kDone
    std::string text;                 // what it wrote until then
    std::vector<std::string> hashes;  // of its interfaces, the most derived one first, as hex digits
};

/**
 * Asks the services for their state, with the options of debug(), and with `hashes` for
 * their interfaces' hashes first; in the order of `names`. All are asked at once, each on
 * threads of its own, and none is waited for longer than `seconds`: one that hangs or
 * ends spoils only its own answer. Tells the user nothing.
 */
std::vector<ServiceDump> requestDumps(const std::vector<ServiceName>& names,
                                      const std::vector<std::string>& options, bool hashes, double seconds);

/**
 * What a service asked for --json told: its object, its text where it knows no JSON, null
 * where it tells nothing; {"error": ...} where it did not answer.
 */
nlohmann::ordered_json asJson(const ServiceDump& asked);

}  // namespace hidlaudio::client
