// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include <hidl/HidlTransportSupport.h>
#include <hidl/Static.h>
#include <hwbinder/ProcessState.h>
#include <log/log.h>
#include <unistd.h>

#include "process.h"
#include "registry.h"

namespace android::hardware {

using hidl::base::V1_0::IBase;
using transport::Process;

ProcessState* ProcessState::self() {
    static ProcessState state;
    return &state;
}

void ProcessState::startThreadPool() {
    Process::self().pool().start();
}

void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin) {
    Process::self().pool().configure(maxThreads, callerWillJoin);
}

void joinRpcThreadpool() {
    Process::self().pool().join();
}

bool setMinSchedulerPolicy(const sp<IBase>& service, int policy, int priority) {
    if (service == nullptr || service->isRemote()) return false;
    details::gServicePrioMap->set(service, {policy, priority});
    return true;
}

namespace details {

int32_t getPidIfSharable() {
    return getpid();
}

sp<IBinder> findService(const std::string& descriptor, const std::string& instance) {
    transport::RegistryEntry entry;
    if (!transport::registryFind(descriptor, instance, &entry)) return nullptr;
    return Process::self().find(entry);
}

status_t registerAsServiceInternal(const sp<IBase>& service, const std::string& name) {
    if (service == nullptr) return UNEXPECTED_NULL;
    sp<IBinder> binder = getOrCreateCachedBinder(service.get());
    if (binder == nullptr || binder->localBinder() == nullptr) {
        ALOGE("only an object of this process can be registered");
        return UNKNOWN_ERROR;
    }
    std::vector<std::string> interfaces;
    Return<void> called = service->interfaceChain([&interfaces](const hidl_vec<hidl_string>& chain) {
        for (const hidl_string& interface : chain) {
            if (interface != IBase::descriptor) interfaces.push_back(interface);
        }
    });
    if (!called.isOk() || interfaces.empty()) return UNKNOWN_ERROR;
    const status_t status = Process::self().registerService(binder->localBinder(), interfaces, name);
    if (status == OK) ProcessState::self()->startThreadPool();
    return status;
}

}  // namespace details
}  // namespace android::hardware
