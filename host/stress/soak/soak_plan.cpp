// SPDX-License-Identifier: Apache-2.0
#include "soak_plan.h"

#include <android-base/strings.h>

#include <iterator>

#include "host/program/split_text.h"

namespace hidlaudio::host {
namespace {

/** Commands of the clients. A command that is listed twice is run twice as often. */
constexpr const char* kClientCommands[] = {
    "audioctl external get",
    "audioctl external set on",
    "audioctl external set off",
    "audioctl external formats",
    "audioctl hdmi get",
    "audioctl hdmi watch",
    "audioctl hdmi set ARC_DD_PLUS",
    "audioctl hdmi set ARC_DD_NONE ARC_MP4AAC_7_1",
    "audioctl speaker surround",
    "audioctl speaker position wall-mount",
    "audioctl speaker position table-top",
    "audioctl speaker delay",
    "audioctl calibration status",
    "audioctl calibration load room.json",
    "audioctl calibration on",
    "audioctl calibration off",
    "audioctl calibration parameters",
    "audioctl calibration smooth-delay on",
    "audioctl calibration smooth-delay set 1.0 2.5",
    "audioctl calibration smooth-delay off",
    "audioctl center show",
    "audioctl mic gain 0.5",
    "audioctl mic gain",
    "audioctl virtualizer on",
    "audioctl virtualizer off",
    "audioctl virtualizer upload device parameters.bin",
    "audioctl virtualizer upload hrtf parameters.bin",
    "audioctl virtualizer upload device room.json",
    "audioctl virtualizer upload hrtf parameters.bin --no-wait",
    "audioctl virtualizer upload device parameters.bin --cancel-after 0.01",
    "audioctl virtualizer upload hrtf parameters.bin --cancel-after 0.03",
    "audioctl ping -n 100",
    "soak_client",
    "soak_client",
    "soak_client",
    "soak_client",
};

/**
 * Commands that change the environment of the daemon. The controller is slow or refuses uploads, but never
 * hangs: it would be busy for all later uploads.
 */
constexpr const char* kEnvironmentCommands[] = {
    "tv bectrl rate 10000",
    "tv bectrl hrtf rate 60000",
    "tv bectrl rate 16777216",
    "tv bectrl rate 16777216",
    "tv bectrl hrtf result 0xF3",
    "tv bectrl result 1",
    "tv bectrl device ioctl_fails on",
    "tv bectrl open_fails on",
    "tv bectrl ioctl_fails off",
    "tv bectrl open_fails off",
    "tv fault a_mtktvapi_config_get_value -1 2",
    "tv fault a_mtktvapi_config_set_value 7 2",
    "tv fault MTDRVCUST_dcustom_cust_spec_set -1 2",
    "tv fault MTAL_InitExCb -1 1",
    "tv fault MTEEPROM_Read -1 2",
    "tv fault acquire_wake_lock -5 1",
    "tv fault setParameters 3 2",
    "tv fault getParameters delay=3000 1",
    "tv fault --clear",
    "tv fault --clear",
};

constexpr uint64_t kClientsPerKill = 8;
constexpr uint64_t kChangesPerHalRestart = 60;
constexpr uint64_t kMaxClientPause = 10;        // ms
constexpr uint64_t kMaxEnvironmentPause = 150;  // ms
constexpr uint64_t kMaxLifetime = 40;           // ms, of a client that is killed

/** Returns whether the command runs until it is killed. */
bool runsForever(const Decision& decision) {
    return decision.command.back() == "watch" || decision.command[0] == "soak_client";
}

}  // namespace

std::string describe(const Decision& decision) {
    std::string text = android::base::Join(decision.command, ' ');
    if (decision.kill.count() != 0) text += ", killed after " + std::to_string(decision.kill.count()) + " ms";
    return text;
}

SoakPlan::SoakPlan(uint64_t seed, unsigned actor) : actor_(actor), state_(seed * 1000003 + actor) {}

/** Returns a number below `count`. SplitMix64 gives the same numbers with every standard library. */
uint64_t SoakPlan::random(uint64_t count) {
    state_ += 0x9E3779B97F4A7C15U;
    uint64_t bits = state_;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
    return (bits ^ (bits >> 31)) % count;
}

Decision SoakPlan::next() {
    Decision decision;
    if (actor_ == kEnvironment) {
        decision.pause = std::chrono::milliseconds(random(kMaxEnvironmentPause));
        const bool isHal = random(kChangesPerHalRestart) == 0;
        const char* const command = kEnvironmentCommands[random(std::size(kEnvironmentCommands))];
        decision.command = isHal ? std::vector<std::string>{"audio_hal"} : splitWords(command);
        return decision;
    }
    decision.pause = std::chrono::milliseconds(random(kMaxClientPause));
    decision.command = splitWords(kClientCommands[random(std::size(kClientCommands))]);
    const bool isKilled = random(kClientsPerKill) == 0;
    const uint64_t lifetime = 1 + random(kMaxLifetime);
    if (isKilled || runsForever(decision)) decision.kill = std::chrono::milliseconds(lifetime);
    if (decision.command[0] == "soak_client") {
        decision.command.push_back(std::to_string(random(1000000)));
        // Give it time for its first upload.
        decision.kill *= 10;
    }
    return decision;
}

}  // namespace hidlaudio::host
