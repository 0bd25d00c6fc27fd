// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <sys/types.h>

#include <string>
#include <vector>

#include "client/invocation.h"
#include "known_services.h"

namespace hidlaudio::client {

/** A name in the registry, and the object that it refers to. */
struct RegisteredService {
    ServiceName name;
    pid_t pid = -1;
    android::sp<android::hidl::base::V1_0::IBase> object;  // null if it could not be obtained
    std::vector<std::string> chain;  // its interfaces, most derived first; empty if the call failed
};

/**
 * Appends all registered names, in the order of the registry, to `services`; leaves out names whose process
 * ends meanwhile. Requests all interface chains at the same time, and waits at most `seconds` for all of
 * them.
 *
 * Returns kDone, or reports the errors on standard error and returns kTimedOut (no reply in time) or kRefused
 * (a call failed). Services with such an error are appended as well. Nothing is appended if the registry
 * cannot be read.
 */
int findRegisteredServices(double seconds, std::vector<RegisteredService>& services);

/** Removes the names of inherited interfaces: each service keeps only its most derived name. */
void keepMostDerived(std::vector<RegisteredService>& services);

/**
 * Makes the service manager report registrations of the service, past and future ones, to `listener`. Returns
 * the exit status.
 */
int requestNotices(const ServiceName& service,
                   const android::sp<android::hidl::manager::V1_0::IServiceNotification>& listener);

/** Returns the name of the program that the process runs, or "?" if the process has ended. */
std::string processName(pid_t pid);

}  // namespace hidlaudio::client
