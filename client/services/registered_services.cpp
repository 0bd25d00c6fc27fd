// SPDX-License-Identifier: Apache-2.0
#include "registered_services.h"

#include <android-base/stringprintf.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>

#include <algorithm>
#include <fstream>
#include <future>
#include <thread>

#include "service_call.h"

namespace hidlaudio::client {
namespace {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::interfacesEqual;
using android::hardware::Return;
using android::hidl::base::V1_0::IBase;
using android::hidl::manager::V1_0::IServiceManager;

struct Answer {
    bool gone = false;  // not registered any more, or died during the call
    std::string error;  // empty if the call succeeded
    sp<IBase> object;
    std::vector<std::string> chain;
};

Answer ask(const ServiceName& name) {
    Answer answer;
    const Return<sp<IBase>> found =
        android::hardware::defaultServiceManager()->get(name.interface, name.instance);
    if (!found.isOk()) {
        answer.error = found.description();
        return answer;
    }
    answer.object = found;
    answer.gone = answer.object == nullptr;
    if (answer.gone) return answer;
    const Return<void> called = answer.object->interfaceChain(
        [&answer](const hidl_vec<hidl_string>& chain) { answer.chain.assign(chain.begin(), chain.end()); });
    if (called.isOk()) return answer;
    answer.gone = called.isDeadObject();
    answer.error = called.description();
    return answer;
}

// Calls on a detached thread, because a pending call cannot be canceled.
std::future<Answer> startAsking(const ServiceName& name) {
    std::promise<Answer> promise;
    std::future<Answer> answer = promise.get_future();
    std::thread([name, promise = std::move(promise)]() mutable { promise.set_value(ask(name)); }).detach();
    return answer;
}

int listNames(std::vector<RegisteredService>& services) {
    const Return<void> listed = android::hardware::defaultServiceManager()->debugDump(
        [&services](const hidl_vec<IServiceManager::InstanceDebugInfo>& infos) {
            for (const auto& info : infos) {
                services.push_back({{info.interfaceName, info.instanceName}, info.pid, nullptr, {}});
            }
        });
    return examine(listed, "the service manager");
}

size_t indexInChain(const RegisteredService& service, const std::string& interface) {
    const auto found = std::find(service.chain.begin(), service.chain.end(), interface);
    return static_cast<size_t>(found - service.chain.begin());
}

}  // namespace

int findRegisteredServices(double seconds, std::vector<RegisteredService>& services) {
    std::vector<RegisteredService> named;
    int status = listNames(named);
    if (status != kDone) return status;
    const auto end = timeIn(seconds);
    std::vector<std::future<Answer>> answers;
    answers.reserve(named.size());
    for (const RegisteredService& service : named) answers.push_back(startAsking(service.name));
    for (size_t i = 0; i < named.size(); ++i) {
        const bool inTime = answers[i].wait_until(end) == std::future_status::ready;
        const Answer answer = inTime ? answers[i].get() : Answer{};
        if (!inTime)
            status = fail(kTimedOut, android::base::StringPrintf("no answer from %s within %g s",
                                                                 toString(named[i].name).c_str(), seconds));
        if (!answer.gone && !answer.error.empty())
            status = fail(kRefused, "the call to " + toString(named[i].name) + " failed: " + answer.error);
        if (!answer.gone) services.push_back({named[i].name, named[i].pid, answer.object, answer.chain});
    }
    return status;
}

int requestNotices(const ServiceName& service,
                   const sp<android::hidl::manager::V1_0::IServiceNotification>& listener) {
    const Return<bool> registered = android::hardware::defaultServiceManager()->registerForNotifications(
        service.interface, service.instance, listener);
    if (const int status = examine(registered, "the service manager"); status != kDone) return status;
    if (registered) return kDone;
    return fail(kRefused, "the service manager does not report registrations of " + toString(service));
}

std::string processName(pid_t pid) {
    std::string name;
    std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
    std::getline(comm, name);
    return name.empty() ? "?" : name;
}

void keepMostDerived(std::vector<RegisteredService>& services) {
    const std::vector<RegisteredService> all = services;
    const auto isBaseName = [&all](const RegisteredService& service) {
        return std::any_of(all.begin(), all.end(), [&service](const RegisteredService& other) {
            return service.object != nullptr && service.name.instance == other.name.instance &&
                   interfacesEqual(service.object, other.object) &&
                   indexInChain(service, other.name.interface) <
                       indexInChain(service, service.name.interface);
        });
    };
    services.erase(std::remove_if(services.begin(), services.end(), isBaseName), services.end());
}

}  // namespace hidlaudio::client
