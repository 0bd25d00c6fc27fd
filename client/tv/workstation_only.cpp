// SPDX-License-Identifier: Apache-2.0
// Option and command that need a virtual TV.
#include <string>

#include "client/commands.h"
#include "client/surroundings.h"

namespace hidlaudio::client {
namespace {

constexpr char kHelp[] = "Works on a workstation only";

}  // namespace

void addTvOption(host::Command app) {
    const auto refused = [](const std::string&) {
        return std::string("works on a workstation only: this program uses the TV that it runs on");
    };
    app.option("--tv", "DIR", [](const std::string&) {}, kHelp).check(refused);
}

void addMonitor(host::Command app, Invocation& invocation) {
    const host::Command command = addCommand(app, invocation, "monitor", kHelp, "", [] {
        return fail(kWrongUsage, "monitor works on a workstation only");
    });
    command.acceptAnything();  // the options of the workstation's command
}

std::string problemOfTv() {
    return "";
}

std::string hintForMissingService() {
    return "; `getprop init.svc.hidlaudio` prints whether the daemon runs";
}

}  // namespace hidlaudio::client
