// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>
#include <stdio.h>
#include <stdlib.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/commands.h"
#include "client/services/service_call.h"
#include "host/program/number_argument.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using com::tovi::dtv::hardware::audio::V6_1::IMicControl;

std::string checkScale(const std::string& text) {
    return host::checkNumber(text, 0, 1);
}

int gain(const Invocation& invocation, const std::string& device) {
    return withService<IMicControl>(invocation, [&](IMicControl& mic, const std::string& name) {
        const Return<float> scale = mic.getMicGain(device);
        if (const int status = examine(scale, name); status != kDone) return status;
        // Prints 0.3, not 0.30000001192092896.
        char text[64];
        snprintf(text, sizeof(text), "%g", static_cast<double>(static_cast<float>(scale)));
        return printValue(invocation, strtod(text, nullptr), text);
    });
}

int setGain(const Invocation& invocation, const std::string& device, float scale) {
    return withService<IMicControl>(invocation, [&](IMicControl& mic, const std::string& name) {
        const Return<int32_t> result = mic.setMicGain(device, scale);
        if (const int status = examine(result, name); status != kDone) return status;
        return reportResult(
            invocation, "setMicGain", result,
            {{-1,
              "the TV has no such microphone (list them with `audioctl mic devices`), or its audio "
              "HAL is missing or refused; the gain is unchanged"}},
            "the service did not set the gain");
    });
}

int devices(const Invocation& invocation) {
    return withService<IMicControl>(invocation, [&](IMicControl& mic, const std::string& name) {
        std::vector<std::string> devices;
        const Return<void> called = mic.getMicDevices(
            [&devices](const hidl_vec<hidl_string>& all) { devices.assign(all.begin(), all.end()); });
        if (const int status = examine(called, name); status != kDone) return status;
        if (invocation.json) return printValue(invocation, devices, "");
        for (const std::string& device : devices) printf("%s\n", device.c_str());
        return static_cast<int>(kDone);
    });
}

void addGain(CLI::App* mic, Invocation& invocation) {
    CLI::App* command = mic->add_subcommand("gain", "Print or set the gain of a microphone");
    command->footer(
        "The TV's audio HAL holds the gain. Prints 0 also if the service cannot read the gain, or does not\n"
        "know the microphone; see the daemon's log.\n"
        "\n"
        "Examples:\n"
        "  audioctl mic gain\n"
        "  audioctl mic gain 0.5");
    const auto device = std::make_shared<std::string>("AUDIO_DEVICE_IN_BUILTIN_MIC");
    const CLI::Option* scale = command
                                   ->add_option_function<std::string>(
                                       "SCALE", [](const std::string&) {},
                                       "Set this gain, 0.0 to 1.0 (default: print the current one)")
                                   ->type_name("")
                                   ->check(checkScale);
    command->add_option("--device", *device, "Use this microphone, a name from `audioctl mic devices`")
        ->type_name("NAME")
        ->capture_default_str();
    onRun(command, invocation, [&invocation, scale, device] {
        return scale->count() > 0 ? setGain(invocation, *device, strtof(scale->results()[0].c_str(), nullptr))
                                  : gain(invocation, *device);
    });
}

void addDevices(CLI::App* mic, Invocation& invocation) {
    CLI::App* command = mic->add_subcommand("devices", "List the microphones, one per line");
    command->footer(
        "With --json the value is an array.\n"
        "\n"
        "Example:\n"
        "  audioctl mic devices");
    onRun(command, invocation, [&invocation] { return devices(invocation); });
}

}  // namespace

void addMic(CLI::App& app, Invocation& invocation) {
    CLI::App* mic = app.add_subcommand("mic", "List the TV's microphones; print or set their gain");
    for (const auto add : {addGain, addDevices}) add(mic, invocation);
    finishGroup(mic,
                "Examples:\n"
                "  audioctl mic gain 0.5\n"
                "  audioctl mic devices");
}

}  // namespace hidlaudio::client
