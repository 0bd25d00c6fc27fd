// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <chrono>
#include <string>
#include <vector>

namespace hidlaudio::host {

/** The next action of a client or of the environment. */
struct Decision {
    std::vector<std::string> command;   // program and arguments; "audio_hal" alone restarts the audio HAL
    std::chrono::milliseconds pause{};  // before the command
    std::chrono::milliseconds kill{};   // time until the command is killed; 0: never
};

/** Returns a text such as "audioctl external set off, killed after 12 ms". */
std::string describe(const Decision& decision);

/**
 * The endless sequence of decisions of one client or of the environment. It depends only on the seed and on
 * `actor`.
 */
class SoakPlan {
  public:
    static constexpr unsigned kEnvironment = 0;

    /** `actor` is the number of a client, from 1, or kEnvironment. */
    SoakPlan(uint64_t seed, unsigned actor);

    Decision next();

  private:
    uint64_t random(uint64_t count);

    unsigned actor_;
    uint64_t state_;
};

}  // namespace hidlaudio::host
