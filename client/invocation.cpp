// SPDX-License-Identifier: Apache-2.0
#include "invocation.h"

#include <filesystem>
#include <string>

#include "host/program/number_argument.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::client {
namespace {

constexpr double kShortestSeconds = 0.001;
constexpr double kLongestSeconds = 86400;

std::string checkSeconds(const std::string& given) {
    return host::checkNumber(given, kShortestSeconds, kLongestSeconds);
}

/** Why the TV cannot be used; empty if it can. */
std::string problemOfTv() {
    std::error_code ignored;
    const bool exists = std::filesystem::is_directory(host::tvRoot(), ignored);
    return exists ? host::registryProblem(host::tvRoot()) : host::tvRoot() + " is not a TV: `tv init` makes one";
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
    std::string names;
    for (const CLI::App* subcommand : app.get_subcommands(nullptr)) {
        names += (names.empty() ? "" : ", ") + subcommand->get_name();
    }
    return names;
}

}  // namespace

std::string checkNotEmpty(const std::string& given) {
    return given.empty() ? "must not be empty" : "";
}

void onRun(CLI::App* command, Invocation& invocation, const std::function<int()>& body,
           const std::function<bool()>& needsTv) {
    command->footer(command->get_footer() +
                    "\n\nAll commands take --tv, --json and --timeout, too: `audioctl --help` tells.");
    command->callback([&invocation, body, needsTv] {
        const std::string problem = needsTv() ? problemOfTv() : "";
        invocation.status = problem.empty() ? body() : fail(kWrongUsage, problem);
    });
}

void addCommonOptions(CLI::App& app, Invocation& invocation) {
    app.fallthrough();
    app.add_option_function<std::string>(
           "--tv", [](const std::string& given) { host::setTvRoot(given); },
           "The TV's folder; otherwise $HIDLAUDIO_TV, else hidlaudio/tv under $XDG_STATE_HOME\n"
           "(~/.local/state)")
        ->type_name("DIR")
        ->check(checkNotEmpty);
    app.add_flag("--json", invocation.json, "Print the result as JSON, for programs");
    app.add_option("--timeout", invocation.timeout,
                   "How long to wait for each answer of a service, 0.001 to 86400 seconds; otherwise 30")
        ->type_name("SECONDS")
        ->check(checkSeconds);
    app.set_version_flag("--version", "audioctl " HIDLAUDIO_VERSION, "Print the version and exit");
}

int wrongUsage(const CLI::App& app, const CLI::ParseError& error) {
    std::string path;
    const CLI::App* command = deepestParsed(&app, &path);
    const std::string help = "\n`" + path + " --help` tells more.";
    const std::string names = namesOfSubcommands(*command);
    const std::vector<std::string> unknown = app.remaining(true);
    std::string message = error.what();
    if (!unknown.empty() && unknown.front()[0] == '-') {
        message = unknown.front() + " is no option of it";
    } else if (!unknown.empty()) {
        message = "\"" + unknown.front() + "\" is " +
                  (names.empty() ? "not expected here" : "no command; these are: " + names);
    } else if (!names.empty() && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        message = "a command is missing; these are: " + names;
    }
    return fail(kWrongUsage, message + help);
}

}  // namespace hidlaudio::client
