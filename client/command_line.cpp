// SPDX-License-Identifier: Apache-2.0
#include "commands.h"

namespace hidlaudio::client {
namespace {

constexpr char kFooter[] =
    R"(Results go to standard output, messages to standard error. With --json, most commands that read
print {"value": ...}, and those that set print {"result": N}, where N is the service's result code.

Exit status of all commands:
  0  success
  1  the service returned an error, a call failed, or output could not be written
  2  invalid usage or input file, or no TV
  3  the service is not registered, or it ended during the call
  4  a service did not reply in time

`audioctl COMMAND --help` describes a command.

Examples:
  audioctl list
  audioctl external get --json
  audioctl --timeout 5 ping)";

}  // namespace

void addCommandLine(host::Command app, Invocation& invocation) {
    app.describe("audioctl", "Use the audio services of a TV.");
    addCommonOptions(app, invocation);
    for (const auto add : {addList, addWait, addPing, addDump, addMonitor, addHdmi, addExternal, addSpeaker,
                           addCalibration, addCenter, addVirtualizer, addMic})
        add(app, invocation);
    app.requireCommand();
    app.setFooter(kFooter);
}

}  // namespace hidlaudio::client
