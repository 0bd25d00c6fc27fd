// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/scenario/harness/scratch_folder.h"
#include "host/scenario/harness/test_tv.h"

namespace hidlaudio::host {

struct SoakOptions {
    double hours = 1;  // duration by the clock of the TV
    unsigned speed = 360;
    uint64_t seed = 0;
    unsigned clients = 4;
    bool restarts = false;  // whether the daemon is killed and restarted in each part
};

/** The result of a soak. */
struct SoakResult {
    unsigned commands = 0;
    unsigned killed = 0;                // clients
    unsigned refused = 0;               // commands to which a service returned an error
    unsigned restarts = 0;              // restarts of the daemon and of the audio HAL
    std::vector<Usage> samples;         // the idle daemon after each part
    std::vector<std::string> problems;  // violations
};

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Usage, descriptors, threads, memory)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SoakResult, commands, killed, refused, restarts, samples, problems)

/** Runs clients and environment on a new TV in the folder. All processes have ended when it returns. */
SoakResult runSoak(const SoakOptions& options, const ScratchFolder& scratch);

}  // namespace hidlaudio::host
