// SPDX-License-Identifier: Apache-2.0
#include <android-base/strings.h>
#include <android-base/thread_annotations.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>
#include <hidl/HidlTransportSupport.h>
#include <signal.h>
#include <unistd.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/commands.h"
#include "client/services/registered_services.h"
#include "client/services/service_call.h"
#include "host/program/standard_streams.h"

namespace hidlaudio::client {
namespace {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::interfacesEqual;
using android::hardware::Return;
using android::hardware::Void;
using android::hidl::base::V1_0::IBase;
using android::hidl::manager::V1_0::IServiceNotification;
using com::tovi::dtv::hardware::audio::V1_1::IHdmiAudioCallback;
using com::tovi::dtv::hardware::audio::V3_1::IHdmiAudio;
using Names = std::vector<std::string>;

struct Event {
    enum class Kind { Changed, Registered, Died } kind;
    Names names;          // of a change
    uint64_t cookie = 0;  // of the death link
};

/**
 * A queue from the threads of the HIDL pool to the main thread, so that the pool never waits for output or
 * for a look-up of the service.
 */
class Events : public virtual android::RefBase {
  public:
    void add(Event event) {
        const std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(std::move(event));
        added_.notify_one();
    }

    Event next() {
        std::unique_lock<std::mutex> lock(mutex_);
        const android::base::ScopedLockAssertion held(mutex_);
        added_.wait(lock, [this]() REQUIRES(mutex_) { return !events_.empty(); });
        Event event = std::move(events_.front());
        events_.pop_front();
        return event;
    }

  private:
    std::mutex mutex_;
    std::condition_variable added_;
    std::deque<Event> events_ GUARDED_BY(mutex_);
};

/** Receives the changes of the capabilities, and the death of the service. */
class ServiceListener : public IHdmiAudioCallback, public android::hardware::hidl_death_recipient {
  public:
    explicit ServiceListener(const sp<Events>& events) : events_(events) {}
    Return<void> onCapabilityChanged(const hidl_vec<hidl_string>& names) override {
        events_->add({Event::Kind::Changed, Names(names.begin(), names.end())});
        return Void();
    }
    void serviceDied(uint64_t cookie, const android::wp<IBase>&) override {
        events_->add({Event::Kind::Died, {}, cookie});
    }

  private:
    const sp<Events> events_;
};

class RegistrationListener : public IServiceNotification {
  public:
    explicit RegistrationListener(const sp<Events>& events) : events_(events) {}
    Return<void> onRegistration(const hidl_string&, const hidl_string&, bool) override {
        events_->add({Event::Kind::Registered, {}});
        return Void();
    }

  private:
    const sp<Events> events_;
};

/** Follows the service through its restarts. Main thread only. */
class Watch {
  public:
    explicit Watch(const Invocation& invocation) : invocation_(invocation) {}

    /** Returns the exit status. */
    int run() {
        const ServiceName service{IHdmiAudio::descriptor, "default"};
        if (const int status = requestNotices(service, registrationListener_); status != kDone) return status;
        if (const int status = handleRegistration(); status != kDone) return status;
        if (service_ == nullptr) return noService(name_);
        for (;;) {
            if (const int status = handle(events_->next()); status != kDone) return status;
        }
    }

  private:
    int handle(const Event& event) {
        switch (event.kind) {
            case Event::Kind::Changed:
                return print(event.names);
            case Event::Kind::Registered:
                return handleRegistration();
            case Event::Kind::Died:
                handleDeath(event.cookie);
                break;
        }
        return kDone;
    }

    int handleRegistration() {
        const Deadline deadline(invocation_, name_);
        const sp<IHdmiAudio> service = IHdmiAudio::tryGetService();
        // The service may have died again, or this is the registration of the one that is watched already.
        if (service == nullptr || interfacesEqual(service, service_)) return kDone;
        service_ = service;
        const Return<bool> linked = service->linkToDeath(serviceListener_, ++cookie_);
        if (!linked.isOk()) return handleFailure(linked);
        const Return<void> registered = service->setCallback(serviceListener_);
        if (!registered.isOk()) return handleFailure(registered);
        note("watching " + name_ + "; stop with Ctrl-C");
        return kDone;
    }

    /** Handles a service that has died during the call like a death notice; reports other errors. */
    int handleFailure(const android::hardware::details::return_status& call) {
        if (!call.isDeadObject()) return examine(call, name_);
        handleDeath(cookie_);
        return kDone;
    }

    void handleDeath(uint64_t cookie) {
        if (cookie != cookie_ || service_ == nullptr) return;
        service_ = nullptr;
        note(name_ + " has ended; waiting for it to start again");
    }

    int print(const Names& names) const {
        printValue(invocation_, names, android::base::Join(names, " "));
        return host::flushOutput() ? kDone : kRefused;
    }

    const Invocation& invocation_;
    const std::string name_ = std::string(IHdmiAudio::descriptor) + "/default";
    const sp<Events> events_ = new Events;
    const sp<ServiceListener> serviceListener_ = new ServiceListener(events_);
    const sp<RegistrationListener> registrationListener_ = new RegistrationListener(events_);
    sp<IHdmiAudio> service_;
    uint64_t cookie_ = 0;  // of the current death link; a late notice of an older link is ignored
};

/** Also unblocks the signals and replaces SIG_IGN, which the parent may have set, as a shell does for "&". */
void exitOnSignals() {
    struct sigaction action{};
    action.sa_handler = [](int) { _exit(kDone); };
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM}) {
        sigaction(signal, &action, nullptr);
        sigaddset(&signals, signal);
    }
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace

void addHdmiWatch(host::Command hdmi, Invocation& invocation) {
    addCommand(
        hdmi, invocation, "watch", "Print each change by a client, until Ctrl-C",
        R"(Prints one line per change: the names that the client passed for the groups that were set. With
--json each line is {"value": [...]}. Changes in the TV's configuration store are not reported.

If the service ends, waits until it is registered again and continues; reports both on standard
error. Changes in between are not reported: `audioctl hdmi get` prints the current state.

Example:
  audioctl hdmi watch --json)",
        [&invocation] {
            exitOnSignals();
            return Watch(invocation).run();
        });
}

}  // namespace hidlaudio::client
