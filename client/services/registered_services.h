// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <sys/types.h>

#include <string>
#include <vector>

#include "client/invocation.h"
#include "known_services.h"

namespace hidlaudio::client {

/** A name in the registry and what is behind it. */
struct RegisteredService {
    ServiceName name;
    pid_t pid = -1;
    android::sp<android::hidl::base::V1_0::IBase> object;  // null where it did not answer
    std::vector<std::string>
        chain;  // its interfaces, the most derived one first; empty where it did not answer
};

/**
 * Fills in every registered name, in their order, but those whose process ends meanwhile.
 * All are asked at once for their chain, and none is waited for longer than `seconds`.
 * Returns kDone; otherwise reports to the user why some did not answer in time (kTimedOut)
 * or could not be asked, which are there nevertheless. None is there if the names cannot be
 * had.
 */
int findRegisteredServices(double seconds, std::vector<RegisteredService>& services);

/** Takes out the names under which a service is registered only because it extends those interfaces. */
void keepMostDerived(std::vector<RegisteredService>& services);

/** The name of a running process's program; "?" where it has ended. */
std::string processName(pid_t pid);

}  // namespace hidlaudio::client
