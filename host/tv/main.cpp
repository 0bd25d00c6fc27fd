// SPDX-License-Identifier: Apache-2.0
#include <exception>
#include <string>

#include "commands.h"
#include "host/root/tv_root.h"
#include "terminal.h"

namespace hidlaudio::host {
namespace {

int runCommand(int argc, char** argv) {
    // Absolute, and the same for the programs that are started at another place.
    setTvRoot(tvRoot());
    int status = kDone;
    CLI::App app("Makes, runs and looks at a virtual TV: a folder that holds the state of one TV.");
    app.footer(
        "Exit status: 0 done, 1 it failed, 2 wrong usage or no TV.\n"
        "`tv COMMAND --help` tells more about a command.");
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option_function<std::string>(
           "--tv", [&](const std::string& given) { setTvRoot(given); },
           "The TV's folder; otherwise $HIDLAUDIO_TV, else hidlaudio/tv under $XDG_STATE_HOME\n"
           "(~/.local/state)")
        ->type_name("DIR")
        ->check([](const std::string& given) { return given.empty() ? "DIR must not be empty" : ""; });
    for (const auto add :
         {addInit, addBoot, addShutdown, addShow, addConfig, addEeprom, addFault, addBectrl, addLog}) {
        add(app, status);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kWrongUsage;
    }
    return status;
}

}  // namespace
}  // namespace hidlaudio::host

int main(int argc, char** argv) {
    try {
        return hidlaudio::host::runCommand(argc, argv);
    } catch (const std::exception& error) {
        return hidlaudio::host::fail(error.what());
    }
}
