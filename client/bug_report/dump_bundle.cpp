// SPDX-License-Identifier: Apache-2.0
#include "dump_bundle.h"

#include <android-base/stringprintf.h>
#include <sys/utsname.h>
#include <time.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "client/services/registered_services.h"
#include "client/surroundings.h"
#include "host/program/output_file.h"
#include "service/platform/version.h"
#include "service_dump.h"

namespace hidlaudio::client {
namespace {

using nlohmann::ordered_json;

std::string timeNow() {
    const time_t now = time(nullptr);
    tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

ordered_json describeSystem() {
    utsname system{};
    uname(&system);
    return std::string(system.sysname) + " " + system.release + " " + system.machine;
}

/** Returns the interfaces of a service with their hashes; an unknown hash is null. */
ordered_json describeChain(const RegisteredService& service, const std::vector<std::string>& hashes) {
    ordered_json chain = ordered_json::array();
    for (size_t i = 0; i < service.chain.size(); ++i) {
        chain.push_back({{"interface", service.chain[i]},
                         {"hash", i < hashes.size() ? ordered_json(hashes[i]) : ordered_json(nullptr)}});
    }
    return chain;
}

ordered_json describe(const RegisteredService& service, const ServiceDump& asked) {
    ordered_json entry = {{"interface", service.name.interface},
                          {"instance", service.name.instance},
                          {"pid", service.pid},
                          {"process", processName(service.pid)},
                          {"chain", describeChain(service, asked.hashes)}};
    if (asked.status == kDone) {
        entry["state"] = asJson(asked);
    } else {
        entry["error"] = asked.error;
        if (!asked.text.empty()) entry["text"] = asked.text;
    }
    return entry;
}

/** Returns the names of the known services that are not in `services`. */
ordered_json namesOfMissing(const std::vector<RegisteredService>& services) {
    ordered_json missing = ordered_json::array();
    for (const ServiceName& name : knownServices()) {
        const bool registered = std::any_of(
            services.begin(), services.end(),
            [&name](const RegisteredService& service) { return toString(service.name) == toString(name); });
        if (!registered) missing.push_back(toString(name));
    }
    return missing;
}

/** Returns the states, in the order of `services`. Services whose object is unknown are not called again. */
std::vector<ServiceDump> askAll(const std::vector<RegisteredService>& services, double seconds) {
    std::vector<ServiceName> names;
    for (const RegisteredService& service : services)
        if (service.object != nullptr) names.push_back(service.name);
    std::vector<ServiceDump> states = requestDumps(names, {"--json"}, true, seconds);
    const ServiceDump noAnswer{
        kTimedOut, android::base::StringPrintf("no answer within %g s", seconds), "", {}};
    for (size_t i = 0; i < services.size(); ++i)
        if (services[i].object == nullptr)
            states.insert(states.begin() + static_cast<std::ptrdiff_t>(i), noAnswer);
    return states;
}

/** Adds the services to the bundle. Returns kDone, or the status of the first error. */
int addServices(double seconds, ordered_json& bundle) {
    std::vector<RegisteredService> services;
    int status = findRegisteredServices(seconds, services);
    if (status != kDone && services.empty()) bundle["services_error"] = "the registry cannot be read";
    keepMostDerived(services);
    const std::vector<ServiceDump> states = askAll(services, seconds);
    bundle["services"] = ordered_json::array();
    for (size_t i = 0; i < services.size(); ++i) {
        bundle["services"].push_back(describe(services[i], states[i]));
        if (states[i].status == kDone) continue;
        if (services[i].object != nullptr) note(toString(services[i].name) + ": " + states[i].error);
        if (status == kDone) status = states[i].status;
    }
    bundle["missing_services"] = namesOfMissing(services);
    return status;
}

}  // namespace

int writeDumpBundle(const Invocation& invocation, const std::string& path) {
    const double seconds = invocation.timeout.value_or(kAnswerSeconds);
    ordered_json bundle = {{"made", timeNow()},
                           {"audioctl", com::tovi::dtv::hardware::audio::platform::kVersion},
                           {"system", describeSystem()}};
    const int status = addServices(seconds, bundle);
    addDiagnostics(seconds, bundle);
    const std::string text = bundle.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
    if (const std::string problem = host::writeOutputFile(path, text); !problem.empty())
        return fail(kRefused, problem);
    if (path == host::kStandardOutput) return status;
    if (invocation.json) {
        printJson({{"result", status}});
    } else {
        note(path + " is written" + (status == kDone ? "" : ", with error messages for the missing parts"));
    }
    return status;
}

}  // namespace hidlaudio::client
