// SPDX-License-Identifier: Apache-2.0
#include <string>

#include "commands.h"
#include "host/program/terminal.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

/** Adds a hidden command that fails and names the command of `tv_stress` to use. Accepts any arguments. */
void addMoved(Command app, int& status, const std::string& name) {
    const Command command = app.addHidden(name);
    command.acceptAnything();
    command.onRun([name, &status] { status = fail("use `tv_stress " + name + "`", kWrongUsage); });
}

}  // namespace

void addCommandLine(Command app, int& status) {
    app.describe("tv",
                 "Creates, runs and inspects a virtual TV, which is a folder with the state of one TV.");
    app.setFooter(
        "Exit status:\n"
        "  0  the command succeeded\n"
        "  1  the command failed, or its output could not be written\n"
        "  2  the arguments are wrong, or the folder is not a TV\n"
        "\n"
        "Examples:\n"
        "  tv init                # create a TV in the default folder\n"
        "  tv boot --background   # start its programs\n"
        "  tv shutdown            # stop its programs\n"
        "\n"
        "Run `tv COMMAND --help` for the arguments, exit statuses and examples of a command.");
    app.requireCommand();
    app.acceptOptionsAnywhere();
    app.option(
           "--tv", "DIR", [](const std::string& given) { setTvRoot(given); },
           "Use the TV in folder DIR (default: $HIDLAUDIO_TV; if that is\n"
           "not set, hidlaudio/tv in $XDG_STATE_HOME or ~/.local/state)")
        .notEmpty();
    app.addVersion("tv " HIDLAUDIO_VERSION);
    for (const auto add : {addInit, addBoot, addShutdown, addShow, addConfig, addEeprom, addFault, addBectrl,
                           addLog, addRecord, addTimeline, addReplay, addFromReport, addShrink}) {
        add(app, status);
    }
    addMoved(app, status, "sweep");
    addMoved(app, status, "soak");
}

}  // namespace hidlaudio::host
