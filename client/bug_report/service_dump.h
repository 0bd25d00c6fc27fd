// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "client/services/known_services.h"
#include "client/terminal/report.h"

namespace hidlaudio::client {

/** Maximum size of a dump in bytes; the rest is discarded. */
constexpr size_t kMaxDumpSize = 1 << 20;

/** The reply of a service to a request for a dump. */
struct ServiceDump {
    int status = kDone;               // or the error: kRefused, kNoService, kTimedOut
    std::string error;                // message for the error; empty for kDone
    std::string text;                 // output of debug(); incomplete after an error
    std::vector<std::string> hashes;  // of its interfaces, most derived first, in hex
};

/**
 * Calls debug() of all services at the same time, with the given options. If `hashes` is true, requests the
 * hashes of their interfaces before. Waits at most `seconds` for all of them. Returns the dumps in the order
 * of `names`. Each service is called on its own threads, so one that hangs or dies affects only its own dump.
 * Prints nothing.
 */
std::vector<ServiceDump> requestDumps(const std::vector<ServiceName>& names,
                                      const std::vector<std::string>& options, bool hashes, double seconds);

/**
 * Converts a dump that was requested with the option --json. Returns the parsed JSON, or the text if it is
 * not JSON, or null if it is empty, or {"error": ...} after an error.
 */
nlohmann::ordered_json asJson(const ServiceDump& asked);

}  // namespace hidlaudio::client
