// SPDX-License-Identifier: Apache-2.0
#include <string>

#include "commands.h"
#include "host/program/terminal.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

/** A command that is now one of `tv_stress`: takes any arguments and names the new command. */
void addMoved(CLI::App& app, int& status, const std::string& name) {
    CLI::App* command = app.add_subcommand(name, "Moved to tv_stress")->group("")->prefix_command();
    command->set_help_flag();
    command->callback(
        [name, &status] { status = fail("`tv " + name + "` is now `tv_stress " + name + "`", kWrongUsage); });
}

}  // namespace

void addCommandLine(CLI::App& app, int& status) {
    app.name("tv");
    app.description("Makes, runs and looks at a virtual TV: a folder that holds the state of one TV.");
    app.footer(
        "Exit status:\n"
        "  0  done\n"
        "  1  it failed, or the output cannot be written\n"
        "  2  wrong usage, or no TV\n"
        "\n"
        "`tv COMMAND --help` tells more about a command.");
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option_function<std::string>(
           "--tv", [](const std::string& given) { setTvRoot(given); },
           "The TV's folder; otherwise $HIDLAUDIO_TV, else hidlaudio/tv under $XDG_STATE_HOME\n"
           "(~/.local/state)")
        ->type_name("DIR")
        ->check([](const std::string& given) { return given.empty() ? "DIR must not be empty" : ""; });
    app.set_version_flag("--version", "tv " HIDLAUDIO_VERSION, "Print the version and exit");
    for (const auto add :
         {addInit, addBoot, addShutdown, addShow, addConfig, addEeprom, addFault, addBectrl, addLog}) {
        add(app, status);
    }
    addMoved(app, status, "sweep");
    addMoved(app, status, "soak");
}

}  // namespace hidlaudio::host
