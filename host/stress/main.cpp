// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "host/program/command_program.h"

namespace hidlaudio::host {
namespace {

void addCommandLine(CLI::App& app, int& status) {
    app.name("tv_stress");
    app.description("Mistreats virtual TVs that it makes itself, and reports what the daemon does wrong.");
    app.footer(
        "Exit status:\n"
        "  0  nothing was found\n"
        "  1  something was found, or the output cannot be written\n"
        "  2  wrong usage\n"
        "\n"
        "Run `tv_stress COMMAND --help` for the options of a command.");
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
