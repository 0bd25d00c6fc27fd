// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IOutputExternal.h>

#include <memory>

#include "client/commands.h"
#include "value_commands.h"

namespace hidlaudio::client {
namespace {

using com::tovi::dtv::hardware::audio::V3_1::IOutputExternal;

void addGet(host::Command external, Invocation& invocation) {
    addCommand(
        external, invocation, "get", "Print whether encoding is forced",
        R"(Prints "on" or "off". Prints "off" also if the service cannot read the setting; see the daemon's
log. With --json the value is true or false.

Example:
  audioctl external get)",
        [&invocation] { return printSwitch(invocation, &IOutputExternal::getForceEncodingEnabled); });
}

void addSet(host::Command external, Invocation& invocation) {
    const auto mode = std::make_shared<std::string>();
    const host::Command command = addCommand(
        external, invocation, "set", "Switch forced encoding on or off",
        R"(The service stores the setting and restores it at every start. On a new TV it is on. A result
other than 0 is the status of the TV's middleware; the setting is then unchanged.

Example:
  audioctl external set off)",
        [&invocation, mode] {
            return setValue(invocation, "setForceEncodingEnabled", &IOutputExternal::setForceEncodingEnabled,
                            *mode == "on", {}, "the TV's middleware refused; the setting is unchanged");
        });
    command.argument("on|off", *mode, "Force encoding (on), or not (off)").required().oneOf({"on", "off"});
}

void addFormat(host::Command external, Invocation& invocation) {
    const auto format = std::make_shared<std::optional<std::string>>();
    const host::Command command = addCommand(
        external, invocation, "format", "Print or set the encoding format",
        R"(The TV chooses the format: the service accepts any name without effect, and reports "auto".

Examples:
  audioctl external format
  audioctl external format auto)",
        [&invocation, format] {
            if (!*format) return printText(invocation, &IOutputExternal::getEncodingFormat);
            return setValue(invocation, "setEncodingFormat", &IOutputExternal::setEncodingFormat, **format,
                            {}, "the service refused the format");
        });
    command.argument("NAME", *format, "Set this format (default: print the current one)");
}

void addFormats(host::Command external, Invocation& invocation) {
    addCommand(
        external, invocation, "formats", "List the available encoding formats, one per line",
        R"(The TV chooses the format: the service reports no formats. With --json the value is an array.

Example:
  audioctl external formats --json)",
        [&invocation] {
            return printList(invocation, &IOutputExternal::getAvailableEncodingFormats,
                             "no formats: the TV chooses the format");
        });
}

}  // namespace

void addExternal(host::Command app, Invocation& invocation) {
    const host::Command external =
        app.addCommand("external", "Control the external (bitstream) audio output");
    for (const auto add : {addGet, addSet, addFormat, addFormats}) add(external, invocation);
    finishGroup(external,
                "Examples:\n"
                "  audioctl external get\n"
                "  audioctl external set off");
}

}  // namespace hidlaudio::client
