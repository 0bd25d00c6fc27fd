// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "host/program/command_program.h"

namespace hidlaudio::host {
namespace {

void addCommandLine(Command app, int& status) {
    app.describe("tv_stress",
                 "Tests the daemon under faults and load, on temporary virtual TVs, and reports violations.");
    app.setFooter(
        "Exit status:\n"
        "  0  no violation was found\n"
        "  1  a violation was found, the test was interrupted, or the output could not be written\n"
        "  2  the arguments or a scenario are wrong\n"
        "\n"
        "Examples:\n"
        "  tv_stress sweep external-output   # inject each possible fault into this scenario\n"
        "  tv_stress soak --hours 1          # run random clients\n"
        "\n"
        "Run `tv_stress COMMAND --help` for the arguments, exit statuses and examples of a command.");
    app.requireCommand();
    app.addVersion("tv_stress " HIDLAUDIO_VERSION);
    addSweep(app, status);
    addSoak(app, status);
}

}  // namespace
}  // namespace hidlaudio::host

int main(int argc, char** argv) {
    return hidlaudio::host::runCommandProgram(argc, argv, hidlaudio::host::addCommandLine);
}
