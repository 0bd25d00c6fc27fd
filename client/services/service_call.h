// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/Status.h>
#include <utils/StrongPointer.h>

#include <string>

#include "client/invocation.h"
#include "client/terminal/report.h"

namespace hidlaudio::client {

/**
 * The time in which a service must answer. A call cannot be given up, so that once the
 * time is over the process ends with kTimedOut and words on standard error. One at a time,
 * on the main thread.
 */
class Deadline {
  public:
    /** Runs from now on, on behalf of the service of that name. */
    Deadline(const Invocation& invocation, const std::string& service);
    ~Deadline();
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
};

/** Tells the user that nothing is registered under that name; kNoService. */
int noService(const std::string& service);

/** kDone where the call was answered; otherwise told to the user: kNoService or kRefused. */
int examine(const android::hardware::details::return_status& returned, const std::string& service);

/**
 * Runs `use` on the "default" service of an interface, all of it within one Deadline;
 * the exit status that it returns, or kNoService. A service that is not registered is reported
 * at once; getService would wait for it.
 */
template <typename Interface, typename Use>
int withService(const Invocation& invocation, Use use) {
    const std::string name = std::string(Interface::descriptor) + "/default";
    const Deadline deadline(invocation, name);
    const android::sp<Interface> service = Interface::tryGetService();
    return service != nullptr ? use(*service, name) : noService(name);
}

}  // namespace hidlaudio::client
