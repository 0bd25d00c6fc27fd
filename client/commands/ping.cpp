// SPDX-License-Identifier: Apache-2.0
#include <android-base/stringprintf.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/ServiceManagement.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "client/commands.h"
#include "client/services/known_services.h"
#include "client/services/service_call.h"

namespace hidlaudio::client {
namespace {

using android::base::StringPrintf;
using android::hardware::Return;
using android::hidl::base::V1_0::IBase;

/** Round-trip times in microseconds, in ascending order; at least one. */
using Times = std::vector<double>;

double median(const Times& times) {
    const size_t middle = times.size() / 2;
    return times.size() % 2 == 1 ? times[middle] : (times[middle - 1] + times[middle]) / 2;
}

/** Calls the service once. Returns the exit status, and the round-trip time in `microseconds`. */
int callOnce(const Invocation& invocation, IBase& service, const std::string& name, double& microseconds) {
    using Clock = std::chrono::steady_clock;
    const Deadline deadline(invocation, name);
    const auto begin = Clock::now();
    const Return<void> answered = service.ping();
    microseconds = std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
    return examine(answered, name);
}

/** Fills and sorts `times`. Returns the exit status. */
int measure(const Invocation& invocation, IBase& service, const std::string& name, Times& times) {
    // The first call also opens the connection, which is not part of the round trip.
    double ignored = 0;
    int status = callOnce(invocation, service, name, ignored);
    for (size_t i = 0; status == kDone && i < times.size(); ++i) {
        status = callOnce(invocation, service, name, times[i]);
    }
    if (status != kDone) return status;
    std::sort(times.begin(), times.end());
    return kDone;
}

int print(const Invocation& invocation, const std::string& name, const Times& times) {
    const std::string text =
        StringPrintf("%s: %zu %s, min %.1f, median %.1f, max %.1f µs", name.c_str(), times.size(),
                     times.size() == 1 ? "call" : "calls", times.front(), median(times), times.back());
    return printValue(invocation,
                      {{"service", name},
                       {"count", times.size()},
                       {"min_us", times.front()},
                       {"median_us", median(times)},
                       {"max_us", times.back()}},
                      text);
}

android::sp<IBase> find(const Invocation& invocation, const ServiceName& service, int* status) {
    const std::string name = toString(service);
    const Deadline deadline(invocation, name);
    const Return<android::sp<IBase>> found =
        android::hardware::defaultServiceManager()->get(service.interface, service.instance);
    *status = examine(found, "the service manager");
    if (*status != kDone) return nullptr;
    android::sp<IBase> object = found;
    if (object == nullptr) *status = noService(name);
    return object;
}

int run(const Invocation& invocation, const ServiceName& service, size_t count) {
    int status = kDone;
    const android::sp<IBase> object = find(invocation, service, &status);
    if (object == nullptr) return status;
    const std::string name = toString(service);
    Times times(count);
    status = measure(invocation, *object, name, times);
    return status == kDone ? print(invocation, name, times) : status;
}

}  // namespace

void addPing(host::Command app, Invocation& invocation) {
    struct Arguments {
        std::string service = "external";
        size_t count = 100;
    };
    const auto arguments = std::make_shared<Arguments>();
    const host::Command command = addCommand(
        app, invocation, "ping", "Measure the round-trip time of a call to a service",
        R"(Prints the minimum, median and maximum time in microseconds. Makes one call before, which is not
measured. All audio services share one thread, so a call may wait for calls of other clients.
With --json the value has "service", "count", "min_us", "median_us" and "max_us".

Short names:
)" + describeKnownServices() +
            R"(

Examples:
  audioctl ping
  audioctl ping -n 10000 listener
  audioctl ping android.hardware.audio@5.0::IDevicesFactory/default)",
        [&invocation, arguments] {
            return run(invocation, *parseServiceName(arguments->service), arguments->count);
        });
    command
        .argument("SERVICE", arguments->service,
                  "Call this service, by full or short name (default: external)")
        .check(checkServiceName);
    command.option("-n", "COUNT", arguments->count, "Measure this many calls, 1 to 1000000 (default: 100)")
        .integer(1, 1000000);
}

}  // namespace hidlaudio::client
