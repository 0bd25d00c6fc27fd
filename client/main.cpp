// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <exception>
#include <sstream>

#include "client/terminal/log_filter.h"
#include "commands.h"
#include "host/program/standard_streams.h"

namespace hidlaudio::client {
namespace {

int runCommand(int argc, char** argv) {
    showOnlyErrorsOfLog();
    Invocation invocation;
    CLI::App app;
    addCommandLine(app, invocation);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) return wrongUsage(app, error);
        std::ostringstream help;
        const int status = app.exit(error, help);
        fputs(help.str().c_str(), stdout);
        return status;
    }
    return invocation.status;
}

}  // namespace
}  // namespace hidlaudio::client

int main(int argc, char** argv) {
    using namespace hidlaudio::client;
    hidlaudio::host::openMissingStandardDescriptors();
    try {
        return hidlaudio::host::finishOutput("audioctl", runCommand(argc, argv));
    } catch (const std::exception& error) {
        return fail(kRefused, error.what());
    }
}
