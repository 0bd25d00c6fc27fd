// SPDX-License-Identifier: Apache-2.0
#include <android-base/stringprintf.h>
#include <android-base/thread_annotations.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/ServiceManagement.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <set>

#include "client/commands.h"
#include "client/services/known_services.h"
#include "client/services/service_call.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_string;
using android::hardware::Return;
using android::hidl::manager::V1_0::IServiceNotification;
using Clock = std::chrono::steady_clock;

/** Receives registrations and removes them from the set of missing services. Thread-safe. */
class Awaited : public IServiceNotification {
  public:
    explicit Awaited(const std::vector<ServiceName>& services) {
        for (const ServiceName& service : services) missing_.insert(toString(service));
    }

    Return<void> onRegistration(const hidl_string& interface, const hidl_string& instance,
                                bool preexisting) override {
        const std::string name = toString(ServiceName{interface, instance});
        const std::lock_guard<std::mutex> lock(mutex_);
        if (missing_.erase(name) > 0 && !preexisting) note(name + " is registered");
        if (missing_.empty()) allThere_.notify_all();
        return android::hardware::Void();
    }

    /** Blocks until all services are registered. Returns false if that does not happen before `end`. */
    bool wait(Clock::time_point end) {
        std::unique_lock<std::mutex> lock(mutex_);
        return allThere_.wait_until(lock, end, [this]() REQUIRES(mutex_) { return missing_.empty(); });
    }

    std::string missing() {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::string names;
        for (const std::string& name : missing_) names += (names.empty() ? "" : ", ") + name;
        return names;
    }

  private:
    std::mutex mutex_;
    std::set<std::string> missing_ GUARDED_BY(mutex_);
    std::condition_variable allThere_;
};

int askForNotices(const std::vector<ServiceName>& services, const android::sp<Awaited>& awaited) {
    const auto manager = android::hardware::defaultServiceManager();
    for (const ServiceName& service : services) {
        const Return<bool> asked =
            manager->registerForNotifications(service.interface, service.instance, awaited);
        if (const int status = examine(asked, "the service manager"); status != kDone) return status;
        if (!asked)
            return fail(kRefused,
                        "the service manager does not report registrations of " + toString(service));
    }
    return kDone;
}

int run(const Invocation& invocation, const std::vector<ServiceName>& services) {
    const std::chrono::duration<double> limit(invocation.timeout.value_or(kAnswerSeconds));
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
    const android::sp<Awaited> awaited = new Awaited(services);
    if (const int status = askForNotices(services, awaited); status != kDone) return status;
    if (!awaited->wait(Clock::now())) note("waiting for " + awaited->missing());
    if (!awaited->wait(end)) {
        return fail(kTimedOut, android::base::StringPrintf("not registered within %g s: %s", limit.count(),
                                                           awaited->missing().c_str()));
    }
    if (invocation.json) printJson({{"result", 0}});
    return kDone;
}

std::vector<ServiceName> parseAll(const std::vector<std::string>& texts) {
    if (texts.empty()) return knownServices();
    std::vector<ServiceName> services;
    services.reserve(texts.size());
    for (const std::string& text : texts) {
        if (const auto service = parseServiceName(text)) services.push_back(*service);
    }
    return services;
}

}  // namespace

void addWait(CLI::App& app, Invocation& invocation) {
    const auto texts = std::make_shared<std::vector<std::string>>();
    CLI::App* command = app.add_subcommand("wait", "Wait until services are registered");
    command
        ->add_option("INTERFACE", *texts,
                     "Wait for these services, by full or short name (default: all below)")
        ->type_name("")
        ->check(checkServiceName);
    command->footer(
        "Waits until each service has been registered at least once. --timeout (default: 30 s) limits the\n"
        "total time; after it the exit status is 4. With --json: {\"result\": 0}.\n"
        "\n"
        "Short names:\n" +
        describeKnownServices() +
        "\n\nExamples:\n"
        "  audioctl wait --timeout 120 && audioctl external get\n"
        "  audioctl wait external com.tovi.dtv.hardware.audio@2.0::IOutputEncodingStatusListener/default");
    onRun(command, invocation, [&invocation, texts] { return run(invocation, parseAll(*texts)); });
}

}  // namespace hidlaudio::client
