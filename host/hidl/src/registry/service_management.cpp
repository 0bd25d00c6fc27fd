// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlServiceManagement"

#include <android-base/thread_annotations.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <log/log.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "manifest.h"
#include "notifications.h"

namespace android::hardware {
namespace {

using hidl::base::V1_0::IBase;
using hidl::manager::V1_0::IServiceNotification;
using transport::Declaration;

struct LookUp {
    sp<IBase> service;          // has confirmed that it implements the interface
    bool mayComeLater = false;  // no service is registered, or its process has ended
};

LookUp lookUp(const std::string& descriptor, const std::string& instance) {
    const char* const interface = descriptor.c_str();
    const char* const name = instance.c_str();
    sp<IBase> dead;
    for (;;) {
        const Return<sp<IBase>> answer = defaultServiceManager()->get(descriptor, instance);
        if (!answer.isOk()) {
            ALOGE("getService: defaultServiceManager()->get returns %s for %s/%s.",
                  answer.description().c_str(), interface, name);
            return {nullptr, false};
        }
        sp<IBase> service = answer;
        if (service == nullptr) return {nullptr, true};
        const Return<bool> fits = details::canCastInterface(service.get(), interface, true);
        if (fits.isOk() && fits) return {service, false};
        if (fits.isOk()) {
            ALOGE("getService: received incompatible service for %s/%s.", interface, name);
            return {nullptr, false};
        }
        if (!fits.isDeadObject()) {
            ALOGW("getService: unable to call into hwbinder service for %s/%s.", interface, name);
            return {nullptr, false};
        }
        // The object may have been replaced during the look-up: try once more to get its successor.
        if (dead != nullptr && interfacesEqual(dead, service)) {
            ALOGW("getService: found dead hwbinder service for %s/%s.", interface, name);
            return {nullptr, true};
        }
        dead = service;
    }
}

/** Waits for a registration, up to a second at a time. */
class Waiter : public IServiceNotification {
  public:
    /** Call it before each look-up: a registration after this call ends the next wait(). */
    void reset() {
        const std::lock_guard<std::mutex> lock(mutex_);
        isRegistered_ = false;
    }

    void wait(const std::string& interface, const std::string& instance) {
        std::unique_lock<std::mutex> lock(mutex_);
        const base::ScopedLockAssertion held(mutex_);
        const auto isRegistered = [this]() REQUIRES(mutex_) { return isRegistered_; };
        if (registered_.wait_for(lock, std::chrono::seconds(1), isRegistered)) return;
        ALOGW("Waited one second for %s/%s", interface.c_str(), instance.c_str());
    }

    Return<void> onRegistration(const hidl_string&, const hidl_string&, bool) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        isRegistered_ = true;
        registered_.notify_one();
        return Void();
    }

  private:
    std::mutex mutex_;
    std::condition_variable registered_;
    bool isRegistered_ GUARDED_BY(mutex_) = false;
};

// Looks the service up at each notification of a registration and once a second. The request for
// notifications starts the thread pool.
sp<IBase> awaitService(const std::string& descriptor, const std::string& instance) {
    const sp<Waiter> waiter = new Waiter();
    transport::notifyOfRegistrations(descriptor, instance, waiter);
    LookUp found;
    for (;;) {
        waiter->reset();
        found = lookUp(descriptor, instance);
        if (found.service != nullptr || !found.mayComeLater) break;
        ALOGI("getService: Trying again for %s/%s...", descriptor.c_str(), instance.c_str());
        waiter->wait(descriptor, instance);
    }
    transport::endNotifications(waiter);
    return found.service;
}

}  // namespace

namespace details {

sp<IBase> getRawServiceInternal(const std::string& descriptor, const std::string& instance, bool retry,
                                bool getStub) {
    if (getStub) return nullptr;
    const Declaration declaration = transport::declarationOf(descriptor, instance);
    if (declaration == Declaration::Undeclared) return nullptr;
    const LookUp found = lookUp(descriptor, instance);
    const bool waits = found.mayComeLater && retry && declaration == Declaration::Declared;
    return waits ? awaitService(descriptor, instance) : found.service;
}

status_t registerAsServiceInternal(const sp<IBase>& service, const std::string& name) {
    if (service == nullptr) return UNEXPECTED_NULL;
    const std::string descriptor = getDescriptor(service.get());
    if (transport::declarationOf(descriptor, name) == Declaration::Undeclared) {
        ALOGE("Service %s/%s must be in VINTF manifest in order to register/get.", descriptor.c_str(),
              name.c_str());
        return UNKNOWN_ERROR;
    }
    const Return<bool> added = defaultServiceManager()->add(name, service);
    return added.isOk() && added ? OK : UNKNOWN_ERROR;
}

}  // namespace details
}  // namespace android::hardware
