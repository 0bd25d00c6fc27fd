// SPDX-License-Identifier: Apache-2.0
#include "hdmi_watch.h"

#include <android-base/thread_annotations.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

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
    enum class Kind { Changed, Registered, Ended } kind;
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

class Changes : public IHdmiAudioCallback {
  public:
    explicit Changes(const sp<Events>& events) : events_(events) {}
    Return<void> onCapabilityChanged(const hidl_vec<hidl_string>& names) override {
        events_->add({Event::Kind::Changed, Names(names.begin(), names.end())});
        return Void();
    }

  private:
    const sp<Events> events_;
};

class Starts : public IServiceNotification {
  public:
    explicit Starts(const sp<Events>& events) : events_(events) {}
    Return<void> onRegistration(const hidl_string&, const hidl_string&, bool) override {
        events_->add({Event::Kind::Registered, {}});
        return Void();
    }

  private:
    const sp<Events> events_;
};

class Ends : public android::hardware::hidl_death_recipient {
  public:
    explicit Ends(const sp<Events>& events) : events_(events) {}
    void serviceDied(uint64_t cookie, const android::wp<IBase>&) override {
        events_->add({Event::Kind::Ended, {}, cookie});
    }

  private:
    const sp<Events> events_;
};

/** Follows the service through its restarts. Main thread only. */
class Watch {
  public:
    explicit Watch(const Invocation& invocation) : invocation_(invocation) {}

    int run();

  private:
    int askForStarts();
    int follow(const sp<IHdmiAudio>& service);
    int handle(const Event& event);
    int handleStart();
    int handleFailure(const android::hardware::details::return_status& call);
    void handleEnd(uint64_t cookie);
    int print(const Names& names) const;

    const Invocation& invocation_;
    const std::string name_ = std::string(IHdmiAudio::descriptor) + "/default";
    const sp<Events> events_ = new Events;
    const sp<Changes> changes_ = new Changes(events_);
    const sp<Starts> starts_ = new Starts(events_);
    const sp<Ends> ends_ = new Ends(events_);
    sp<IHdmiAudio> service_;
    uint64_t cookie_ = 0;  // of the current death link; a late notice of an older link is ignored
};

int Watch::run() {
    if (const int status = askForStarts(); status != kDone) return status;
    if (const int status = handleStart(); status != kDone) return status;
    if (service_ == nullptr) return noService(name_);
    for (;;) {
        if (const int status = handle(events_->next()); status != kDone) return status;
    }
}

int Watch::askForStarts() {
    const Return<bool> asked = android::hardware::defaultServiceManager()->registerForNotifications(
        IHdmiAudio::descriptor, "default", starts_);
    if (const int status = examine(asked, "the service manager"); status != kDone) return status;
    return asked ? kDone : fail(kRefused, "the service manager does not report registrations of " + name_);
}

int Watch::handle(const Event& event) {
    switch (event.kind) {
        case Event::Kind::Changed:
            return print(event.names);
        case Event::Kind::Registered:
            return handleStart();
        case Event::Kind::Ended:
            handleEnd(event.cookie);
            break;
    }
    return kDone;
}

int Watch::handleStart() {
    const Deadline deadline(invocation_, name_);
    const sp<IHdmiAudio> service = IHdmiAudio::tryGetService();
    // The service may have died again, or this is the registration of the one that is watched already.
    if (service == nullptr || interfacesEqual(service, service_)) return kDone;
    return follow(service);
}

int Watch::follow(const sp<IHdmiAudio>& service) {
    service_ = service;
    const Return<bool> linked = service->linkToDeath(ends_, ++cookie_);
    if (!linked.isOk()) return handleFailure(linked);
    const Return<void> registered = service->setCallback(changes_);
    if (!registered.isOk()) return handleFailure(registered);
    note("watching " + name_ + "; stop with Ctrl-C");
    return kDone;
}

/** Handles a service that has died during the call like a death notice; reports other errors. */
int Watch::handleFailure(const android::hardware::details::return_status& call) {
    if (!call.isDeadObject()) return examine(call, name_);
    handleEnd(cookie_);
    return kDone;
}

void Watch::handleEnd(uint64_t cookie) {
    if (cookie != cookie_ || service_ == nullptr) return;
    service_ = nullptr;
    note(name_ + " has ended; waiting for it to start again");
}

int Watch::print(const Names& names) const {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
    printValue(invocation_, names, text);
    return host::flushOutput() ? kDone : kRefused;
}

void endWatching(int) {
    _exit(kDone);
}

/** Also unblocks the signals and replaces SIG_IGN, which the parent may have set, as a shell does for "&". */
void endOnSignals() {
    struct sigaction action{};
    action.sa_handler = endWatching;
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM}) {
        sigaction(signal, &action, nullptr);
        sigaddset(&signals, signal);
    }
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace

int watchHdmi(const Invocation& invocation) {
    endOnSignals();
    return Watch(invocation).run();
}

}  // namespace hidlaudio::client
