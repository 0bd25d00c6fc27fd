// SPDX-License-Identifier: Apache-2.0
#include <exception>

#include "commands.h"
#include "log_filter.h"

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
        return error.get_exit_code() == 0 ? finish(app.exit(error)) : wrongUsage(app, error);
    }
    return finish(invocation.status);
}

}  // namespace
}  // namespace hidlaudio::client

int main(int argc, char** argv) {
    using namespace hidlaudio::client;
    try {
        return runCommand(argc, argv);
    } catch (const std::exception& error) {
        return fail(kRefused, error.what());
    }
}
