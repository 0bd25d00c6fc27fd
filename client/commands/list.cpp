// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>

#include "client/commands.h"
#include "client/services/registered_services.h"

namespace hidlaudio::client {
namespace {

using nlohmann::json;

// Shorter than the default, so that a service that hangs does not delay the list for long.
constexpr double kListSeconds = 5;

using Row = std::array<std::string, 4>;

// Leaves out the package name of interfaces that are in the service's own package.
std::string chainText(const RegisteredService& service) {
    const std::string package = service.name.interface.substr(0, service.name.interface.find('@'));
    std::string text;
    for (const std::string& name : service.chain) {
        const bool samePackage = name.compare(0, package.size() + 1, package + "@") == 0;
        text += (text.empty() ? "" : " > ") + (samePackage ? name.substr(package.size()) : name);
    }
    return text.empty() ? "?" : text;
}

void printTable(const std::vector<RegisteredService>& services) {
    std::vector<Row> rows = {{"INTERFACE", "INSTANCE", "PROCESS", "INTERFACE CHAIN"}};
    for (const RegisteredService& service : services) {
        rows.push_back({service.name.interface, service.name.instance,
                        std::to_string(service.pid) + " " + processName(service.pid), chainText(service)});
    }
    std::array<int, 3> widths{};
    for (const Row& row : rows) {
        for (size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], static_cast<int>(row[i].size()));
    }
    for (const Row& row : rows) {
        printf("%-*s  %-*s  %-*s  %s\n", widths[0], row[0].c_str(), widths[1], row[1].c_str(), widths[2],
               row[2].c_str(), row[3].c_str());
    }
}

void printArray(const std::vector<RegisteredService>& services) {
    json list = json::array();
    for (const RegisteredService& service : services) {
        list.push_back({{"interface", service.name.interface},
                        {"instance", service.name.instance},
                        {"pid", service.pid},
                        {"process", processName(service.pid)},
                        {"chain", service.chain.empty() ? json() : json(service.chain)}});
    }
    printJson(list);
}

int run(const Invocation& invocation, bool all) {
    std::vector<RegisteredService> services;
    const int status = findRegisteredServices(invocation.timeout.value_or(kListSeconds), services);
    if (status != kDone && services.empty()) return status;
    if (!all) keepMostDerived(services);
    if (invocation.json) {
        printArray(services);
    } else if (services.empty()) {
        note("no service is registered; start the services with `tv boot`");
    } else {
        printTable(services);
    }
    return status;
}

}  // namespace

void addList(host::Command app, Invocation& invocation) {
    const auto all = std::make_shared<bool>(false);
    const host::Command command = addCommand(
        app, invocation, "list", "List the registered services and their processes",
        R"(Requests the interface chain of each service, most derived interface first. A service that does not
reply within --timeout (default: 5 s) is listed under all its names, with the chain "?" (null with
--json), and the exit status is 4. The same applies if a call fails, with exit status 1.

With --json: [{"interface": ..., "instance": ..., "pid": ..., "process": ..., "chain": [...]}]

Examples:
  audioctl list
  audioctl list --all --json)",
        [&invocation, all] { return run(invocation, *all); });
    command.flag("--all", *all, "Also list the inherited interface versions");
}

}  // namespace hidlaudio::client
