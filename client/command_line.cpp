// SPDX-License-Identifier: Apache-2.0
#include "commands.h"

namespace hidlaudio::client {
namespace {

constexpr char kFooter[] =
    R"(Results go to standard output, everything else to standard error. With --json a command that
reads prints {"value": ...} and one that sets prints {"result": N}, N being the service's answer.

Exit status:
  0  done
  1  the service answered with an error, or the result cannot be written; standard error tells why
  2  wrong usage, or no TV
  3  the service is not there, or ended before it answered
  4  no answer in time

`audioctl COMMAND --help` tells more about a command.)";

}  // namespace

void addCommandLine(CLI::App& app, Invocation& invocation) {
    app.name("audioctl");
    app.description("Uses the audio services of a TV.");
    app.footer(kFooter);
    app.require_subcommand(1);
    addCommonOptions(app, invocation);
    for (const auto add : {addList, addWait, addPing, addDump, addHdmi, addExternal, addSpeaker,
                           addCalibration, addCenter, addVirtualizer, addMic})
        add(app, invocation);
}

}  // namespace hidlaudio::client
