// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>

#include <memory>

#include "client/commands.h"
#include "value_commands.h"

namespace hidlaudio::client {
namespace {

using com::tovi::dtv::hardware::audio::V5_1::IHeadphoneVirtualizer;

int setSwitch(const Invocation& invocation, const char* method,
              android::hardware::Return<int32_t> (IHeadphoneVirtualizer::*set)(bool), bool enable) {
    return setValue(invocation, method, set, enable,
                    {{-5, "not supported: the TV has no back-end controller, or its platform is not ready"}},
                    "the TV's middleware refused; the switch is unchanged");
}

int switchVirtualizer(const Invocation& invocation, bool enable) {
    return setSwitch(invocation, "setVirtualizerEnabled", &IHeadphoneVirtualizer::setVirtualizerEnabled,
                     enable);
}

void addSwitch(host::Command parent, Invocation& invocation) {
    addCommand(
        parent, invocation, "status", "Print whether the virtualizer is on or off",
        R"(Prints "on" or "off", "off" also on a TV without a back-end controller. With --json the value is
true or false.

Example:
  audioctl virtualizer status)",
        [&invocation] { return printSwitch(invocation, &IHeadphoneVirtualizer::getVirtualizerEnabled); });
    addCommand(
        parent, invocation, "on", "Switch the virtualizer on",
        R"(Needs a TV with a back-end controller. The virtualizer is off after a restart of the service.

Example:
  audioctl virtualizer on)",
        [&invocation] { return switchVirtualizer(invocation, true); });
    addCommand(parent, invocation, "off", "Switch the virtualizer off",
               R"(Needs a TV with a back-end controller.

Example:
  audioctl virtualizer off)",
               [&invocation] { return switchVirtualizer(invocation, false); });
}

void addUpmix(host::Command parent, Invocation& invocation) {
    const auto mode = std::make_shared<std::optional<std::string>>();
    const host::Command command = addCommand(
        parent, invocation, "upmix", "Print or set upmixing of sound with few channels",
        R"(Needs a TV with a back-end controller to set it. Upmixing is on after a restart of the service.
With --json the printed value is true or false.

Examples:
  audioctl virtualizer upmix
  audioctl virtualizer upmix off)",
        [&invocation, mode] {
            if (!*mode) return printSwitch(invocation, &IHeadphoneVirtualizer::getUpmixEnabled);
            return setSwitch(invocation, "setUpmixEnabled", &IHeadphoneVirtualizer::setUpmixEnabled,
                             **mode == "on");
        });
    command.argument("on|off", *mode, "Set this state (default: print the current one)").oneOf({"on", "off"});
}

void addTypes(host::Command parent, Invocation& invocation) {
    const auto type = std::make_shared<std::optional<std::string>>();
    const host::Command command = addCommand(
        parent, invocation, "type", "Print or set the virtualizer's type",
        R"(`audioctl virtualizer types` lists the types. Their names are case-sensitive.

Examples:
  audioctl virtualizer type
  audioctl virtualizer type Tovi)",
        [&invocation, type] {
            if (!*type) return printText(invocation, &IHeadphoneVirtualizer::getVirtualizerType);
            return setValue(invocation, "setVirtualizerType", &IHeadphoneVirtualizer::setVirtualizerType,
                            **type, {{-5, "unknown type; list the types with `audioctl virtualizer types`"}},
                            "the service refused the type");
        });
    command.argument("NAME", *type, "Set this type (default: print the current one)");
    addCommand(parent, invocation, "types", "List the types, one per line",
               R"(With --json the value is an array.

Example:
  audioctl virtualizer types)",
               [&invocation] {
                   return printList(invocation, &IHeadphoneVirtualizer::getAvailableVirtualizerTypes);
               });
}

void addMaxAppend(host::Command parent, Invocation& invocation) {
    addCommand(
        parent, invocation, "max-append", "Print the upload limit per call, in bytes",
        R"(The service accepts at most this many bytes per append() call. `audioctl virtualizer upload` uses
it as the default of --chunk.

Example:
  audioctl virtualizer max-append)",
        [&invocation] {
            int32_t size = 0;
            const int status = callService(invocation, size, &IHeadphoneVirtualizer::getMaxAppendSize);
            return status != kDone ? status : printValue(invocation, size, std::to_string(size));
        });
}

}  // namespace

void addVirtualizer(host::Command app, Invocation& invocation) {
    const host::Command virtualizer =
        app.addCommand("virtualizer", "Control the headphone virtualizer; upload parameters");
    for (const auto add : {addSwitch, addUpmix, addTypes, addMaxAppend, addVirtualizerUpload})
        add(virtualizer, invocation);
    finishGroup(virtualizer,
                "The switches are reset when the service restarts.\n"
                "\n"
                "Examples:\n"
                "  audioctl virtualizer on\n"
                "  audioctl virtualizer upmix off");
}

}  // namespace hidlaudio::client
