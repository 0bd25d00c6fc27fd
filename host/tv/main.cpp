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
    CLI::App app;
    addCommandLine(app, status);
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
