// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/stress/harness/test_tv.h"

namespace hidlaudio::host {

struct SoakSetup {
    std::string folder;      // exists, and is the soak's own
    std::string parameters;  // a file to upload
    uint64_t seed = 0;
    unsigned clients = 1;
    std::chrono::milliseconds length{};  // in real time
    unsigned clock = 1;                  // how much faster the TV's time passes
    bool restarts = false;               // the daemon is killed and started again between the parts
};

/** What came of it. */
struct SoakResult {
    unsigned commands = 0;
    unsigned killed = 0;                // clients
    unsigned refused = 0;               // commands that the service answered with an error
    unsigned restarts = 0;              // of the daemon and of the audio HAL
    std::vector<Usage> samples;         // of the daemon at rest: after the warm-up, and after each part
    std::vector<std::string> problems;  // what must not be
};

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Usage, descriptors, threads, memory)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SoakResult, commands, killed, refused, restarts, samples, problems)

/** Lets the clients and what is around the service act on a TV in the folder, and leaves nothing running. */
SoakResult runSoak(const SoakSetup& setup);

}  // namespace hidlaudio::host
