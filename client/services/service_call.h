// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/Status.h>
#include <utils/StrongPointer.h>

#include <string>

#include "client/invocation.h"
#include "client/terminal/report.h"

namespace hidlaudio::client {

/**
 * A time limit for calls to a service. A pending call cannot be canceled: when the time is over, the process
 * prints a message to standard error and exits with kTimedOut. Only one object may exist at a time, on the
 * main thread.
 */
class Deadline {
  public:
    /** Starts the timer. `service` is the name in the message. */
    Deadline(const Invocation& invocation, const std::string& service);
    ~Deadline();
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
};

/** Reports that the service is not registered. Returns kNoService. */
int noService(const std::string& service);

/**
 * Returns kDone if the call succeeded. Otherwise reports the error and returns kNoService if the service has
 * died, or kRefused.
 */
int examine(const android::hardware::details::return_status& returned, const std::string& service);

/**
 * Calls `use` with the "default" service of an interface and its name, within one Deadline. Returns the exit
 * status of `use`, or reports that the service is not registered and returns kNoService. Does not wait for a
 * service, as getService() does.
 */
template <typename Interface, typename Use>
int withService(const Invocation& invocation, Use use) {
    const std::string name = std::string(Interface::descriptor) + "/default";
    const Deadline deadline(invocation, name);
    const android::sp<Interface> service = Interface::tryGetService();
    return service != nullptr ? use(*service, name) : noService(name);
}

}  // namespace hidlaudio::client
