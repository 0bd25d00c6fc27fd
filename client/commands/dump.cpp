// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/bug_report/dump_bundle.h"
#include "client/bug_report/service_dump.h"
#include "client/commands.h"
#include "client/services/registered_services.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::client {
namespace {

using nlohmann::ordered_json;

struct Arguments {
    std::vector<std::string> services;
    bool all = false;
    std::string output;
};

/** The services that the user named, each once. */
std::vector<ServiceName> namedServices(const std::vector<std::string>& words) {
    std::vector<ServiceName> names;
    for (const std::string& word : words) {
        const std::optional<ServiceName> name = parseServiceName(word);
        if (!name) continue;
        const bool again = std::any_of(names.begin(), names.end(), [&name](const ServiceName& former) {
            return toString(former) == toString(*name);
        });
        if (!again) names.push_back(*name);
    }
    return names;
}

/** All that are registered, those that do not tell their chain among them. */
int registeredServices(double seconds, std::vector<ServiceName>& names) {
    std::vector<RegisteredService> services;
    const int status = findRegisteredServices(seconds, services);
    if (status != kDone && services.empty()) return status;
    keepMostDerived(services);
    for (const RegisteredService& service : services)
        if (service.object != nullptr) names.push_back(service.name);
    if (!services.empty()) return status;
    return fail(kNoService,
                "no service is registered on the TV " + host::tvRoot() + "; `tv boot` starts the services");
}

void printText(const ServiceName& name, const ServiceDump& state) {
    printf("%s\n%s", toString(name).c_str(), state.text.c_str());
    if (state.text.empty()) {
        printf("  (tells nothing of itself)\n");
    } else if (state.text.back() != '\n') {
        printf("\n");
    }
}

int dump(const Invocation& invocation, const std::vector<std::string>& words) {
    const double seconds = invocation.timeout.value_or(kAnswerSeconds);
    std::vector<ServiceName> names = namedServices(words);
    int status = kDone;
    if (names.empty()) status = registeredServices(seconds, names);
    if (names.empty()) return status;
    const std::vector<std::string> options(invocation.json ? 1 : 0, "--json");
    const std::vector<ServiceDump> states = requestDumps(names, options, false, seconds);
    ordered_json all = ordered_json::object();
    for (size_t i = 0; i < names.size(); ++i) {
        all[toString(names[i])] = asJson(states[i]);
        const bool done = states[i].status == kDone;
        if (!invocation.json && done) printText(names[i], states[i]);
        if (!done) note(toString(names[i]) + ": " + states[i].error);
        if (status == kDone) status = states[i].status;
    }
    if (invocation.json) printJson({{"value", all}});
    return status;
}

constexpr char kFooter[] =
    R"(A service tells its settings as far as it holds them itself, what it has persisted, its buffers and
uploads, and how many clients it calls back. It asks nobody else for that and changes nothing, so that
the answer comes even where the TV's middleware hangs; a ..._key names where such a setting is kept.
One that does not answer within --timeout is named, and the others are printed nevertheless; the exit
status is that of the first such service.

With --json: {"value": {"INTERFACE/INSTANCE": STATE}}, where a service that knows no JSON is its text,
one that tells nothing is null, and one that does not answer is {"error": ...}.

--all makes a file for a bug report: versions, all services with their processes, the hashes of their
interfaces and their states, the last 200 lines of each log, and the state of the virtual TV. It is one
JSON file, for people and programs. What cannot be had is named in it; the exit status tells, too. With
--json: {"result": N}, N being the exit status.

Short names:
)";

}  // namespace

void addDump(CLI::App& app, Invocation& invocation) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command =
        app.add_subcommand("dump", "Print the inner state of services, or gather a bug report");
    CLI::Option* services =
        command
            ->add_option("SERVICE", arguments->services,
                         "The services, by full or short names; otherwise all that are registered")
            ->type_name("")
            ->check(checkServiceName);
    CLI::Option* all = command->add_flag("--all", arguments->all, "Gather all that a bug report needs");
    CLI::Option* output = command
                              ->add_option("--output", arguments->output,
                                           "The file for that, which is replaced; - is standard output")
                              ->type_name("FILE")
                              ->check(checkNotEmpty);
    all->needs(output)->excludes(services);
    output->needs(all);
    command->footer(kFooter + describeKnownServices() +
                    "\n\nExamples:\n"
                    "  audioctl dump\n"
                    "  audioctl dump virtualizer --json\n"
                    "  audioctl dump --all --output report.json");
    onRun(command, invocation, [&invocation, arguments] {
        return arguments->all ? writeDumpBundle(invocation, arguments->output)
                              : dump(invocation, arguments->services);
    });
}

}  // namespace hidlaudio::client
