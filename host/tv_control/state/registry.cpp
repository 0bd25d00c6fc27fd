// SPDX-License-Identifier: Apache-2.0
#include "registry.h"

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/ServiceManagement.h>

#include <algorithm>
#include <set>

#include "daemon_services.h"

namespace hidlaudio::host {
namespace {

std::vector<std::string> servicesOf(const std::string& program) {
    if (program == "audio_hal") return {"android.hardware.audio@5.0::IDevicesFactory/default"};
    return {std::begin(kDaemonServices), std::end(kDaemonServices)};
}

std::set<std::string> namesRegisteredBy(pid_t pid) {
    std::set<std::string> names;
    const auto result = android::hardware::defaultServiceManager()->debugDump([&](const auto& entries) {
        for (const auto& entry : entries) {
            if (entry.pid == pid)
                names.insert(std::string(entry.interfaceName) + "/" + std::string(entry.instanceName));
        }
    });
    if (!result.isOk()) names.clear();
    return names;
}

}  // namespace

std::string factoryManifest() {
    std::string text =
        "# The services that this TV declares, one INTERFACE/INSTANCE per line. A line also declares the\n"
        "# older minor versions. A program can neither register nor find a service that is not declared.\n"
        "# getService waits for a declared service that is not registered yet.\n";
    for (const char* program : {"audio_hal", "hidlaudio"}) {
        text += "\n";
        for (const std::string& service : servicesOf(program)) text += service + "\n";
    }
    return text;
}

std::vector<std::string> missingServices(const std::string& program, pid_t pid) {
    std::vector<std::string> missing = servicesOf(program);
    const std::set<std::string> registered = namesRegisteredBy(pid);
    const auto isRegistered = [&](const std::string& service) { return registered.count(service) != 0; };
    missing.erase(std::remove_if(missing.begin(), missing.end(), isRegistered), missing.end());
    return missing;
}

bool servicesRegistered(const std::string& program, pid_t pid) {
    return missingServices(program, pid).empty();
}

std::string describeMissing(const std::vector<std::string>& missing) {
    if (missing.size() == 1) return missing.front();
    return missing.front() + " and " + std::to_string(missing.size() - 1) + " more";
}

}  // namespace hidlaudio::host
