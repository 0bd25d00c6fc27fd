// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/commands.h"
#include "client/services/service_call.h"
#include "hdmi_watch.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using com::tovi::dtv::hardware::audio::V3_1::IHdmiAudio;
using Names = std::vector<std::string>;

constexpr const char* kSettable[] = {
    "ARC_DD_NONE",    "ARC_DD_PLUS",    "ARC_DD_ATMOS",    "ARC_MP4AAC_NONE",
    "ARC_MP4AAC_5_1", "ARC_MP4AAC_7_1", "ARC_MP4AAC_22_2",
};

constexpr char kCapabilities[] =
    "The capabilities, each group in ascending order:\n"
    "  ARC, Dolby Digital   ARC_DD_NONE ARC_DD_PLUS ARC_DD_ATMOS\n"
    "  ARC, MPEG-4 AAC      ARC_MP4AAC_NONE ARC_MP4AAC_5_1 ARC_MP4AAC_7_1 ARC_MP4AAC_22_2\n"
    "  eARC, Dolby Digital  EARC_DD_NONE EARC_DD_PLUS EARC_DD_ATMOS (cannot be set)\n"
    "\n";

int get(const Invocation& invocation) {
    return withService<IHdmiAudio>(invocation, [&](IHdmiAudio& hdmi, const std::string& name) {
        Names capabilities;
        const Return<void> called =
            hdmi.getAudioCapabilities([&capabilities](const hidl_vec<hidl_string>& current) {
                capabilities.assign(current.begin(), current.end());
            });
        if (const int status = examine(called, name); status != kDone) return status;
        std::string text;
        for (const std::string& capability : capabilities) text += (text.empty() ? "" : "\n") + capability;
        return printValue(invocation, capabilities, text);
    });
}

/** The service takes such a name and says nothing; who mistyped it shall hear of it. */
void noteUnknown(const Names& names) {
    for (const std::string& name : names) {
        if (std::find(std::begin(kSettable), std::end(kSettable), name) == std::end(kSettable)) {
            note("\"" + name + "\" is no capability that can be set; it sets nothing");
        }
    }
}

int set(const Invocation& invocation, const Names& names) {
    return withService<IHdmiAudio>(invocation, [&](IHdmiAudio& hdmi, const std::string& name) {
        const Return<int32_t> result =
            hdmi.setAudioCapabilities(std::vector<hidl_string>(names.begin(), names.end()));
        if (const int status = examine(result, name); status != kDone) return status;
        noteUnknown(names);
        return reportResult(invocation, "setAudioCapabilities", result,
                            {{-1, "no name is a capability that can be set, or the TV's middleware failed"}},
                            "the TV's middleware refused; the capabilities are as before");
    });
}

void addGet(CLI::App* hdmi, Invocation& invocation) {
    CLI::App* command =
        hdmi->add_subcommand("get", "Print the capabilities that the TV announces, one a line");
    command->footer(
        "Always three: ARC Dolby Digital, eARC Dolby Digital, ARC MPEG-4 AAC. One that the service cannot\n"
        "read is \"NONE\"; its log then tells. With --json the value is an array.");
    onRun(command, invocation, [&invocation] { return get(invocation); });
}

void addSet(CLI::App* hdmi, Invocation& invocation) {
    const auto names = std::make_shared<Names>();
    CLI::App* command = hdmi->add_subcommand("set", "Set what the TV announces at its audio return channel");
    command->add_option("CAPABILITY", *names, "The capabilities of one group or both, in any order")
        ->type_name("")
        ->required();
    command->footer(
        std::string(kCapabilities) +
        "Of each group the highest one given is set; a group of which none is given stays as it is.\n"
        "The result is 0 as soon as one group was set. Otherwise it is -1 or the status of the TV's\n"
        "middleware.\n"
        "\n"
        "Example:\n"
        "  audioctl hdmi set ARC_DD_PLUS ARC_MP4AAC_5_1");
    onRun(command, invocation, [&invocation, names] { return set(invocation, *names); });
}

void addWatch(CLI::App* hdmi, Invocation& invocation) {
    CLI::App* command =
        hdmi->add_subcommand("watch", "Print each change that some client makes, until Ctrl-C");
    command->footer(
        "One line a change: the names that the client gave of the groups that were set. What others change "
        "in\n"
        "the TV's configuration store is not told. With --json each line is {\"value\": [...]}.\n"
        "\n"
        "Where the service ends, waits for it and goes on; standard error tells when it is being watched\n"
        "again. Changes that are made in between are not told: `audioctl hdmi get` prints the present "
        "state.");
    onRun(command, invocation, [&invocation] { return watchHdmi(invocation); });
}

}  // namespace

void addHdmi(CLI::App& app, Invocation& invocation) {
    CLI::App* hdmi = app.add_subcommand("hdmi", "The audio formats announced over HDMI (ARC and eARC)");
    hdmi->footer(std::string(kCapabilities) +
                 "Examples:\n"
                 "  audioctl hdmi get\n"
                 "  audioctl hdmi set ARC_DD_ATMOS\n"
                 "  audioctl hdmi watch --json");
    hdmi->require_subcommand(1);
    for (const auto add : {addGet, addSet, addWatch}) add(hdmi, invocation);
}

}  // namespace hidlaudio::client
