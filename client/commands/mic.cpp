// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>
#include <stdio.h>
#include <stdlib.h>

#include <memory>

#include "client/commands.h"
#include "value_commands.h"

namespace hidlaudio::client {
namespace {

using com::tovi::dtv::hardware::audio::V6_1::IMicControl;

int printGain(const Invocation& invocation, const std::string& device) {
    float scale = 0;
    const int status = callService(invocation, scale, &IMicControl::getMicGain, device);
    if (status != kDone) return status;
    // Prints 0.3, not 0.30000001192092896.
    char text[64];
    snprintf(text, sizeof(text), "%g", static_cast<double>(scale));
    return printValue(invocation, strtod(text, nullptr), text);
}

int setGain(const Invocation& invocation, const std::string& device, const std::string& scale) {
    int32_t result = 0;
    const int status =
        callService(invocation, result, &IMicControl::setMicGain, device, strtof(scale.c_str(), nullptr));
    if (status != kDone) return status;
    return reportResult(invocation, "setMicGain", result,
                        {{-1,
                          "the TV has no such microphone (list them with `audioctl mic devices`), or its "
                          "audio HAL is missing or refused; the gain is unchanged"}},
                        "the service did not set the gain");
}

void addGain(host::Command mic, Invocation& invocation) {
    const auto device = std::make_shared<std::string>("AUDIO_DEVICE_IN_BUILTIN_MIC");
    const auto scale = std::make_shared<std::optional<std::string>>();
    const host::Command command = addCommand(
        mic, invocation, "gain", "Print or set the gain of a microphone",
        R"(The TV's audio HAL holds the gain. Prints 0 also if the service cannot read the gain, or does not
know the microphone; see the daemon's log.

Examples:
  audioctl mic gain
  audioctl mic gain 0.5)",
        [&invocation, scale, device] {
            return *scale ? setGain(invocation, *device, **scale) : printGain(invocation, *device);
        });
    command.argument("SCALE", *scale, "Set this gain, 0.0 to 1.0 (default: print the current one)")
        .number(0, 1);
    command.option("--device", "NAME", *device, "Use this microphone, a name from `audioctl mic devices`")
        .showsDefault();
}

void addDevices(host::Command mic, Invocation& invocation) {
    addCommand(mic, invocation, "devices", "List the microphones, one per line",
               R"(With --json the value is an array.

Example:
  audioctl mic devices)",
               [&invocation] { return printList(invocation, &IMicControl::getMicDevices); });
}

}  // namespace

void addMic(host::Command app, Invocation& invocation) {
    const host::Command mic = app.addCommand("mic", "List the TV's microphones; print or set their gain");
    addGain(mic, invocation);
    addDevices(mic, invocation);
    finishGroup(mic,
                "Examples:\n"
                "  audioctl mic gain 0.5\n"
                "  audioctl mic devices");
}

}  // namespace hidlaudio::client
