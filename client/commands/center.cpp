// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/4.0/ICenterSpeaker.h>
#include <stdio.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/commands.h"
#include "client/services/service_call.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_vec;
using android::hardware::Return;
using com::tovi::dtv::hardware::audio::V4_0::ICenterSpeaker;
using com::tovi::dtv::hardware::audio::V4_0::SampleLatency;

/** All values that the service reports. */
struct Center {
    std::vector<int16_t> types;
    SampleLatency latency{};
    bool available = false;
    bool synchronized = false;
};

int ask(ICenterSpeaker& speaker, const std::string& name, Center& center) {
    const Return<void> types = speaker.getCenterSpeakerAcousticsType(
        [&center](const hidl_vec<int16_t>& all) { center.types.assign(all.begin(), all.end()); });
    if (const int status = examine(types, name); status != kDone) return status;
    const Return<void> latency = speaker.getCenterSpeakerLatency(
        [&center](const SampleLatency& current) { center.latency = current; });
    if (const int status = examine(latency, name); status != kDone) return status;
    const Return<bool> available = speaker.isCenterSpeakerInputAvailable();
    if (const int status = examine(available, name); status != kDone) return status;
    const Return<bool> synchronized = speaker.isSynchronizedCenterSpeakerInputAvailable();
    if (const int status = examine(synchronized, name); status != kDone) return status;
    center.available = available;
    center.synchronized = synchronized;
    return kDone;
}

int print(const Invocation& invocation, const Center& center) {
    if (invocation.json) {
        printJson({{"value",
                    {{"acoustics_types", center.types},
                     {"latency",
                      {{"sampling_rate", center.latency.samplingRate}, {"samples", center.latency.samples}}},
                     {"input_available", center.available},
                     {"synchronized_input_available", center.synchronized}}}});
        return kDone;
    }
    printf("acoustics type:");
    for (const int16_t type : center.types) printf(" %d", type);
    printf("\nlatency: %d samples at %d Hz\n", center.latency.samples, center.latency.samplingRate);
    printf("input available: %s\n", center.available ? "yes" : "no");
    printf("synchronized input available: %s\n", center.synchronized ? "yes" : "no");
    return kDone;
}

int show(const Invocation& invocation) {
    return withService<ICenterSpeaker>(invocation, [&](ICenterSpeaker& speaker, const std::string& name) {
        Center center;
        const int status = ask(speaker, name, center);
        return status != kDone ? status : print(invocation, center);
    });
}

void addShow(CLI::App* center, Invocation& invocation) {
    CLI::App* command = center->add_subcommand("show", "Print type, latency and inputs");
    command->footer(
        R"(The service reads these values when it starts. A value that it cannot read has a default: type 0,
576 samples at 48000 Hz, no input; see the daemon's log.

Example:
  audioctl center show --json)");
    onRun(command, invocation, [&invocation] { return show(invocation); });
}

}  // namespace

void addCenter(CLI::App& app, Invocation& invocation) {
    CLI::App* center =
        app.add_subcommand("center", "Print the values for use as center speaker of an audio system");
    addShow(center, invocation);
    finishGroup(center,
                "Example:\n"
                "  audioctl center show");
}

}  // namespace hidlaudio::client
