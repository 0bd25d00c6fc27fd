// SPDX-License-Identifier: Apache-2.0
#include "invocation.h"

#include <android-base/strings.h>

#include <string>

#include "host/program/number_argument.h"
#include "service/platform/version.h"
#include "surroundings.h"

namespace hidlaudio::client {
namespace {

constexpr char kCommonOptionsHint[] = "\n\nAll commands also accept the options of `audioctl --help`.";

constexpr double kShortestSeconds = 0.001;
constexpr double kLongestSeconds = 86400;

std::string checkSeconds(const std::string& given) {
    return host::checkNumber(given, kShortestSeconds, kLongestSeconds);
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

}  // namespace

std::chrono::steady_clock::time_point timeIn(double seconds) {
    using Clock = std::chrono::steady_clock;
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

std::string checkNotEmpty(const std::string& given) {
    return given.empty() ? "must not be empty" : "";
}

CLI::App* addCommand(CLI::App* parent, Invocation& invocation, const std::string& name,
                     const std::string& description, const std::string& footer,
                     const std::function<int()>& body, const std::function<bool()>& needsTv) {
    CLI::App* command = parent->add_subcommand(name, description);
    command->footer(footer + kCommonOptionsHint);
    command->callback([&invocation, body, needsTv] {
        const std::string problem = needsTv() ? problemOfTv() : "";
        invocation.status = problem.empty() ? body() : fail(kWrongUsage, problem);
    });
    return command;
}

CLI::Option* addOptionalArgument(CLI::App* command, const std::string& name,
                                 std::optional<std::string>& value, const std::string& help) {
    // CLI11 itself would convert an empty argument to `std::nullopt`.
    return command
        ->add_option_function<std::string>(
            name, [&value](const std::string& given) { value = given; }, help)
        ->type_name("");
}

CLI::App* addGroup(CLI::App& app, const std::string& name, const std::string& description) {
    return app.add_subcommand(name, description);
}

void finishGroup(CLI::App* group, const std::string& footer) {
    group->require_subcommand(1);
    group->footer(group->get_parent() != nullptr ? footer + kCommonOptionsHint : footer);
}

void addCommonOptions(CLI::App& app, Invocation& invocation) {
    app.fallthrough();
    addTvOption(app);
    app.add_flag("--json", invocation.json, "Print the result as JSON");
    app.add_option("--timeout", invocation.timeout,
                   "Wait at most this long for each reply of a service, 0.001 to 86400\n"
                   "(default: 30 for most commands)")
        ->type_name("SECONDS")
        ->check(checkSeconds);
    app.set_version_flag("--version",
                         std::string("audioctl ") + com::tovi::dtv::hardware::audio::platform::kVersion,
                         "Print the version and exit");
}

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

}  // namespace hidlaudio::client
