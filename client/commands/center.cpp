// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/4.0/ICenterSpeaker.h>
#include <stdio.h>

#include <nlohmann/json.hpp>
#include <vector>

#include "client/commands.h"
#include "client/services/service_call.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_vec;
using com::tovi::dtv::hardware::audio::V4_0::ICenterSpeaker;
using com::tovi::dtv::hardware::audio::V4_0::SampleLatency;

int print(const Invocation& invocation, const hidl_vec<int16_t>& types, const SampleLatency& latency,
          bool available, bool synchronized) {
    if (invocation.json)
        return printValue(
            invocation,
            {{"acoustics_types", std::vector<int16_t>(types)},
             {"latency", {{"sampling_rate", latency.samplingRate}, {"samples", latency.samples}}},
             {"input_available", available},
             {"synchronized_input_available", synchronized}},
            "");
    printf("acoustics type:");
    for (const int16_t type : types) printf(" %d", type);
    printf("\nlatency: %d samples at %d Hz\n", latency.samples, latency.samplingRate);
    printf("input available: %s\n", available ? "yes" : "no");
    printf("synchronized input available: %s\n", synchronized ? "yes" : "no");
    return kDone;
}

int showCenter(const Invocation& invocation) {
    return withService<ICenterSpeaker>(invocation, [&](const Service<ICenterSpeaker>& speaker) {
        hidl_vec<int16_t> types;
        SampleLatency latency{};
        bool available = false;
        bool synchronized = false;
        int status = speaker.call(types, &ICenterSpeaker::getCenterSpeakerAcousticsType);
        if (status == kDone) status = speaker.call(latency, &ICenterSpeaker::getCenterSpeakerLatency);
        if (status == kDone) status = speaker.call(available, &ICenterSpeaker::isCenterSpeakerInputAvailable);
        if (status == kDone)
            status = speaker.call(synchronized, &ICenterSpeaker::isSynchronizedCenterSpeakerInputAvailable);
        return status != kDone ? status : print(invocation, types, latency, available, synchronized);
    });
}

void addShow(host::Command center, Invocation& invocation) {
    addCommand(
        center, invocation, "show", "Print type, latency and inputs",
        R"(The service reads these values when it starts. A value that it cannot read has a default: type 0,
576 samples at 48000 Hz, no input; see the daemon's log.

Example:
  audioctl center show --json)",
        [&invocation] { return showCenter(invocation); });
}

}  // namespace

void addCenter(host::Command app, Invocation& invocation) {
    const host::Command center =
        app.addCommand("center", "Print the values for use as center speaker of an audio system");
    addShow(center, invocation);
    finishGroup(center,
                "Example:\n"
                "  audioctl center show");
}

}  // namespace hidlaudio::client
