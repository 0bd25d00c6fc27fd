// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "host/program/command_program.h"

namespace hidlaudio::host {
namespace {

void addCommandLine(CLI::App& app, int& status) {
    app.name("tv_stress");
    app.description(
        "Tests the daemon under faults and load, on temporary virtual TVs, and reports violations.");
    app.footer(
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
    app.require_subcommand(1);
    app.set_version_flag("--version", "tv_stress " HIDLAUDIO_VERSION, "Print the version and exit");
    addSweep(app, status);
    addSoak(app, status);
}

}  // namespace
}  // namespace hidlaudio::host

int main(int argc, char** argv) {
    return hidlaudio::host::runCommandProgram(argc, argv, hidlaudio::host::addCommandLine);
}
