// SPDX-License-Identifier: Apache-2.0
#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <android-base/thread_annotations.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <set>

#include "client/commands.h"
#include "client/services/registered_services.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_string;
using android::hardware::Return;
using android::hidl::manager::V1_0::IServiceNotification;
using Clock = std::chrono::steady_clock;

/** Receives registrations and removes them from the set of missing services. Thread-safe. */
class MissingServices : public IServiceNotification {
  public:
    explicit MissingServices(const std::vector<ServiceName>& services) {
        for (const ServiceName& service : services) missing_.insert(toString(service));
    }

    Return<void> onRegistration(const hidl_string& interface, const hidl_string& instance,
                                bool preexisting) override {
        const std::string name = toString(ServiceName{interface, instance});
        const std::lock_guard<std::mutex> lock(mutex_);
        if (missing_.erase(name) > 0 && !preexisting) note(name + " is registered");
        if (missing_.empty()) complete_.notify_all();
        return android::hardware::Void();
    }

    /** Blocks until all services are registered. Returns false if that does not happen before `end`. */
    bool wait(Clock::time_point end) {
        std::unique_lock<std::mutex> lock(mutex_);
        return complete_.wait_until(lock, end, [this]() REQUIRES(mutex_) { return missing_.empty(); });
    }

    std::string names() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return android::base::Join(missing_, ", ");
    }

  private:
    std::mutex mutex_;
    std::set<std::string> missing_ GUARDED_BY(mutex_);
    std::condition_variable complete_;
};

int run(const Invocation& invocation, const std::vector<ServiceName>& services) {
    const double seconds = invocation.timeout.value_or(kAnswerSeconds);
    const auto end = timeIn(seconds);
    const android::sp<MissingServices> missing = new MissingServices(services);
    for (const ServiceName& service : services) {
        if (const int status = requestNotices(service, missing); status != kDone) return status;
    }
    if (!missing->wait(Clock::now())) note("waiting for " + missing->names());
    if (!missing->wait(end)) {
        return fail(kTimedOut, android::base::StringPrintf("not registered within %g s: %s", seconds,
                                                           missing->names().c_str()));
    }
    if (invocation.json) printJson({{"result", 0}});
    return kDone;
}

}  // namespace

void addWait(host::Command app, Invocation& invocation) {
    const auto texts = std::make_shared<std::vector<std::string>>();
    const host::Command command = addCommand(
        app, invocation, "wait", "Wait until services are registered",
        R"(Waits until each service has been registered at least once. --timeout (default: 30 s) limits the
total time; after it the exit status is 4. With --json: {"result": 0}.

Short names:
)" + describeKnownServices() +
            R"(

Examples:
  audioctl wait --timeout 120 && audioctl external get
  audioctl wait external com.tovi.dtv.hardware.audio@2.0::IOutputEncodingStatusListener/default)",
        [&invocation, texts] {
            return run(invocation, texts->empty() ? knownServices() : parseServiceNames(*texts));
        });
    command
        .argument("INTERFACE", *texts, "Wait for these services, by full or short name (default: all below)")
        .check(checkServiceName);
}

}  // namespace hidlaudio::client
