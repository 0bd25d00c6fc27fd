// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <chrono>
#include <string>
#include <vector>

namespace hidlaudio::host {

/** What one of those that act on a TV does next. */
struct Decision {
    std::vector<std::string> command;   // `audioctl` or `tv` and its words, or "audio_hal": it is restarted
    std::chrono::milliseconds pause{};  // before it
    std::chrono::milliseconds kill{};   // after so long it is killed; 0: it is not
};

/** "audioctl external set off, killed after 12 ms". */
std::string describe(const Decision& decision);

/**
 * The decisions of one client, or of what is around the service (`kEnvironment`): an endless
 * row that depends on the seed alone.
 */
class SoakPlan {
  public:
    static constexpr unsigned kEnvironment = 0;

    /** `who` counts the clients from 1. */
    SoakPlan(uint64_t seed, unsigned who);

    Decision next();

  private:
    uint64_t random(uint64_t count);

    unsigned who_;
    uint64_t state_;
};

}  // namespace hidlaudio::host
