// SPDX-License-Identifier: Apache-2.0
#include <string>

#include "commands.h"
#include "host/root/tv_root.h"

namespace hidlaudio::host {

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
    for (const auto add : {addInit, addBoot, addShutdown, addShow, addConfig, addEeprom, addFault, addBectrl,
                           addLog, addSweep, addSoak}) {
        add(app, status);
    }
}

}  // namespace hidlaudio::host
