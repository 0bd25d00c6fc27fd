// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "client/commands.h"
#include "value_commands.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_string;
using com::tovi::dtv::hardware::audio::V3_1::IHdmiAudio;
using Names = std::vector<std::string>;

constexpr const char* kSettable[] = {
    "ARC_DD_NONE",    "ARC_DD_PLUS",    "ARC_DD_ATMOS",    "ARC_MP4AAC_NONE",
    "ARC_MP4AAC_5_1", "ARC_MP4AAC_7_1", "ARC_MP4AAC_22_2",
};

constexpr char kCapabilities[] =
    "Capabilities, each group in ascending order:\n"
    "  ARC, Dolby Digital   ARC_DD_NONE ARC_DD_PLUS ARC_DD_ATMOS\n"
    "  ARC, MPEG-4 AAC      ARC_MP4AAC_NONE ARC_MP4AAC_5_1 ARC_MP4AAC_7_1 ARC_MP4AAC_22_2\n"
    "  eARC, Dolby Digital  EARC_DD_NONE EARC_DD_PLUS EARC_DD_ATMOS (cannot be set)\n"
    "\n";

/** Reports names that have no effect: the service ignores them without an error. */
void noteUnknown(const Names& names) {
    for (const std::string& name : names) {
        if (std::find(std::begin(kSettable), std::end(kSettable), name) == std::end(kSettable)) {
            note("\"" + name + "\" is not a capability that can be set; it has no effect");
        }
    }
}

int set(const Invocation& invocation, const Names& names) {
    int32_t result = 0;
    const int status = callService(invocation, result, &IHdmiAudio::setAudioCapabilities,
                                   std::vector<hidl_string>(names.begin(), names.end()));
    if (status != kDone) return status;
    noteUnknown(names);
    return reportResult(invocation, "setAudioCapabilities", result,
                        {{-1, "none of the names can be set, or the TV's middleware failed"}},
                        "the TV's middleware refused; the capabilities are unchanged");
}

void addHdmiGet(host::Command hdmi, Invocation& invocation) {
    addCommand(
        hdmi, invocation, "get", "Print the capabilities that the TV announces, one per line",
        R"(Prints always three names: ARC Dolby Digital, eARC Dolby Digital, ARC MPEG-4 AAC. If the service
cannot read one, prints "NONE"; see the daemon's log. With --json the value is an array.

Example:
  audioctl hdmi get)",
        [&invocation] { return printList(invocation, &IHdmiAudio::getAudioCapabilities); });
}

void addHdmiSet(host::Command hdmi, Invocation& invocation) {
    const auto names = std::make_shared<Names>();
    const host::Command command = addCommand(
        hdmi, invocation, "set", "Set the capabilities that the TV announces over ARC",
        std::string(kCapabilities) +
            R"(Sets each group to the highest of its capabilities given. A group with none given is unchanged.
The result is 0 if at least one group was set, or else -1 or the status of the TV's middleware.

Example:
  audioctl hdmi set ARC_DD_PLUS ARC_MP4AAC_5_1)",
        [&invocation, names] { return set(invocation, *names); });
    command.argument("CAPABILITY", *names, "Announce these capabilities, of one group or both, in any order")
        .required();
}

}  // namespace

void addHdmi(host::Command app, Invocation& invocation) {
    const host::Command hdmi =
        app.addCommand("hdmi", "Print, set or watch the audio formats announced over HDMI");
    for (const auto add : {addHdmiGet, addHdmiSet, addHdmiWatch}) add(hdmi, invocation);
    finishGroup(hdmi, std::string(kCapabilities) +
                          "Examples:\n"
                          "  audioctl hdmi get\n"
                          "  audioctl hdmi set ARC_DD_ATMOS\n"
                          "  audioctl hdmi watch --json");
}

}  // namespace hidlaudio::client
