// SPDX-License-Identifier: Apache-2.0
#include <android-base/strings.h>
#include <android/log.h>
#include <stdio.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <sstream>

#include "client/terminal/report.h"
#include "commands.h"
#include "host/program/standard_streams.h"

namespace hidlaudio::client {
namespace {

/**
 * Prints the errors that the HIDL runtime logs to standard error, as messages of this program, and drops the
 * rest of its log.
 */
void showOnlyErrorsOfLog() {
    // Older versions of liblog pass the text as a separate argument, newer ones as a member of the record.
    __android_log_set_logger([](const auto* record, auto... text) {
        if (record->priority < ANDROID_LOG_ERROR) return;
        if constexpr (sizeof...(text) == 0) {
            note(record->message);
        } else {
            note(text...);
        }
    });
}

const CLI::App* deepestParsed(const CLI::App* app, std::string* path) {
    *path = app->get_name();
    while (!app->get_subcommands().empty()) {
        app = app->get_subcommands().front();
        *path += " " + app->get_name();
    }
    return app;
}

std::string namesOfSubcommands(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* subcommand : app.get_subcommands(nullptr)) names.push_back(subcommand->get_name());
    return android::base::Join(names, ", ");
}

/** Prints the error of the command line to standard error. Returns kWrongUsage. */
int wrongUsage(const CLI::App& app, const CLI::ParseError& error) {
    std::string path;
    const CLI::App* command = deepestParsed(&app, &path);
    const std::string help = "\nSee `" + path + " --help`.";
    const std::string names = namesOfSubcommands(*command);
    const std::vector<std::string> unknown = app.remaining(true);
    std::string message = error.what();
    if (!unknown.empty() && unknown.front()[0] == '-') {
        message = "unknown option " + unknown.front();
    } else if (!unknown.empty()) {
        message = (names.empty() ? "unexpected argument \"" : "unknown command \"") + unknown.front() + "\"" +
                  (names.empty() ? "" : "; expected one of: " + names);
    } else if (!names.empty() && error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError)) {
        message = "missing command; expected one of: " + names;
    }
    return fail(kWrongUsage, message + help);
}

int runCommand(int argc, char** argv) {
    showOnlyErrorsOfLog();
    Invocation invocation;
    CLI::App app;
    addCommandLine(host::Command(&app), invocation);
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
