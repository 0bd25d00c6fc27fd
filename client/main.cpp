// SPDX-License-Identifier: Apache-2.0
#include <exception>

#include "commands.h"
#include "log_filter.h"

namespace hidlaudio::client {
namespace {

constexpr char kFooter[] =
    R"(Results go to standard output, everything else to standard error. With --json a command that
reads prints {"value": ...} and one that sets prints {"result": N}, N being the service's answer.

Exit status:
  0  done
  1  the service answered with an error, which standard error explains
  2  wrong usage, or no TV
  3  the service is not there, or ended before it answered
  4  no answer in time

`audioctl COMMAND --help` tells more about a command.)";

int runCommand(int argc, char** argv) {
    showOnlyErrorsOfLog();
    Invocation invocation;
    CLI::App app("Uses the audio services of a TV.", "audioctl");
    app.footer(kFooter);
    app.require_subcommand(1);
    addCommonOptions(app, invocation);
    for (const auto add :
         {addList, addWait, addPing, addHdmi, addExternal, addSpeaker, addCenter, addVirtualizer, addMic})
        add(app, invocation);
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
