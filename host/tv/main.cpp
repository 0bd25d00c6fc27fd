// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>
#include <sys/stat.h>

#include <exception>
#include <sstream>
#include <string>

#include "commands.h"
#include "host/root/standard_streams.h"
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
        std::ostringstream help;
        const int code = app.exit(error, help);
        fputs(help.str().c_str(), stdout);
        return code == 0 ? kDone : kWrongUsage;
    }
    return status;
}

}  // namespace
}  // namespace hidlaudio::host

int main(int argc, char** argv) {
    using namespace hidlaudio::host;
    openMissingStandardDescriptors();
    // No other user may write the files that this makes.
    umask(umask(0) | S_IWGRP | S_IWOTH);
    try {
        return finishOutput("tv", runCommand(argc, argv));
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
