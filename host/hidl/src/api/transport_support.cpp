// SPDX-License-Identifier: Apache-2.0
#include <hidl/HidlTransportSupport.h>
#include <hidl/Static.h>
#include <hwbinder/ProcessState.h>
#include <unistd.h>

#include "host/hidl/src/threads/process.h"

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

}  // namespace details
}  // namespace android::hardware
