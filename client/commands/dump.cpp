// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/bug_report/dump_bundle.h"
#include "client/bug_report/service_dump.h"
#include "client/commands.h"
#include "client/services/registered_services.h"
#include "client/surroundings.h"

namespace hidlaudio::client {
namespace {

using nlohmann::ordered_json;

struct Arguments {
    std::vector<std::string> services;
    bool all = false;
    std::string output;
};

/** Appends the registered services, except those whose object is unknown. Returns the exit status. */
int registeredServices(double seconds, std::vector<ServiceName>& names) {
    std::vector<RegisteredService> services;
    const int status = findRegisteredServices(seconds, services);
    if (status != kDone && services.empty()) return status;
    keepMostDerived(services);
    for (const RegisteredService& service : services)
        if (service.object != nullptr) names.push_back(service.name);
    if (!services.empty()) return status;
    return fail(kNoService, "no service is registered" + hintForMissingService());
}

void printText(const ServiceName& name, const ServiceDump& state) {
    printf("%s\n%s", toString(name).c_str(), state.text.c_str());
    if (state.text.empty()) {
        printf("  (no state)\n");
    } else if (state.text.back() != '\n') {
        printf("\n");
    }
}

int dump(const Invocation& invocation, const std::vector<std::string>& words) {
    const double seconds = invocation.timeout.value_or(kAnswerSeconds);
    std::vector<ServiceName> names = parseServiceNames(words);
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

constexpr char kDumpFooter[] =
    R"(Prints the settings that each service holds, its stored files, its buffers and uploads, and the
number of its callbacks. The services call no other component for this and change nothing, so they
reply even if the TV's middleware hangs. A field named ..._key is the name of a setting that the
middleware holds.

A service that does not reply within --timeout (default: 30 s) is reported, and the others are
printed. The exit status is that of the first service that failed.

With --json: {"value": {"INTERFACE/INSTANCE": STATE}}. STATE is the JSON of the service, or its text
if that is not JSON, or null if it is empty, or {"error": ...} if the service failed.

--all writes a bug report as one JSON file: versions; all services with their processes, interface
hashes and states; the last lines of the logs; the state of the TV. On a workstation that is the output
of `tv show --json`; on a TV, it is the properties, the daemon's files and those of the back-end
controller's driver in /proc. Parts that cannot be read are replaced by an error message. The exit status is that
of the first service that failed.
With --json: {"result": N}, N being the exit status.

Short names:
)";

constexpr char kExamples[] = R"(

Examples:
  audioctl dump
  audioctl dump virtualizer --json
  audioctl dump --all --output report.json)";

}  // namespace

void addDump(host::Command app, Invocation& invocation) {
    const auto arguments = std::make_shared<Arguments>();
    const host::Command command =
        addCommand(app, invocation, "dump", "Print the internal state of services, or write a bug report",
                   kDumpFooter + describeKnownServices() + kExamples, [&invocation, arguments] {
                       return arguments->all ? writeDumpBundle(invocation, arguments->output)
                                             : dump(invocation, arguments->services);
                   });
    const host::Option services =
        command
            .argument("SERVICE", arguments->services,
                      "Print these services, by full or short name (default: all registered)")
            .check(checkServiceName);
    const host::Option all =
        command.flag("--all", arguments->all, "Write a bug report to the file of --output");
    const host::Option output = command
                                    .option("--output", "FILE", arguments->output,
                                            "Replace this file with the bug report (-: standard output)")
                                    .notEmpty();
    all.needs(output).excludes(services);
    output.needs(all);
}

}  // namespace hidlaudio::client
