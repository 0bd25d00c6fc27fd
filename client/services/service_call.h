// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <utils/StrongPointer.h>

#include <functional>
#include <string>
#include <utility>

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

/** The "default" service of an interface. Its calls return the exit status of examine(). */
template <typename Interface>
class Service {
  public:
    Service(android::sp<Interface> object, std::string name)
        : object_(std::move(object)), name_(std::move(name)) {}

    /** Calls a method that returns a value, and sets `value` to it. */
    template <typename Value, typename... Parameters, typename... Arguments>
    int call(Value& value, android::hardware::Return<Value> (Interface::*method)(Parameters...),
             const Arguments&... arguments) const {
        const android::hardware::Return<Value> returned = (object_.get()->*method)(arguments...);
        const int status = examine(returned, name_);
        if (status == kDone) value = returned;
        return status;
    }

    /** Calls a method that passes a value to a callback, and sets `value` to it. */
    template <typename Value>
    int call(Value& value,
             android::hardware::Return<void> (Interface::*method)(std::function<void(const Value&)>)) const {
        return examine((object_.get()->*method)([&value](const Value& passed) { value = passed; }), name_);
    }

  private:
    android::sp<Interface> object_;
    std::string name_;
};

/**
 * Calls `use` with the "default" service of an interface, within one Deadline. Returns the exit status of
 * `use`, or reports that the service is not registered and returns kNoService. Does not wait for a service,
 * as getService() does.
 */
template <typename Interface, typename Use>
int withService(const Invocation& invocation, Use use) {
    const std::string name = std::string(Interface::descriptor) + "/default";
    const Deadline deadline(invocation, name);
    const android::sp<Interface> object = Interface::tryGetService();
    return object != nullptr ? use(Service<Interface>(object, name)) : noService(name);
}

/** Makes one call to the "default" service, as Service::call() does. */
template <typename Interface, typename Value, typename Result, typename... Parameters, typename... Arguments>
int callService(const Invocation& invocation, Value& value, Result (Interface::*method)(Parameters...),
                const Arguments&... arguments) {
    return withService<Interface>(invocation, [&](const Service<Interface>& service) {
        return service.call(value, method, arguments...);
    });
}

}  // namespace hidlaudio::client
