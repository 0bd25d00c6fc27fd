// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlServiceManagement"

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <log/log.h>

namespace android::hardware::details {
namespace {

using hidl::base::V1_0::IBase;

/** The registered object of that name, or nullptr; it has answered that it implements `descriptor`. */
sp<IBase> lookUp(const std::string& descriptor, const std::string& instance) {
    const char* const interface = descriptor.c_str();
    const char* const name = instance.c_str();
    sp<IBase> dead;
    for (;;) {
        sp<IBase> service = defaultServiceManager()->get(descriptor, instance);
        if (service == nullptr) return nullptr;
        const Return<bool> fits = canCastInterface(service.get(), interface, true);
        if (fits.isOk() && fits) return service;
        if (fits.isOk()) {
            ALOGE("getService: received incompatible service for %s/%s.", interface, name);
            return nullptr;
        }
        if (!fits.isDeadObject()) {
            ALOGW("getService: unable to call into hwbinder service for %s/%s.", interface, name);
            return nullptr;
        }
        // An object that was replaced during the look-up may be gone: its successor is asked then.
        if (dead != nullptr && interfacesEqual(dead, service)) {
            ALOGW("getService: found dead hwbinder service for %s/%s.", interface, name);
            return nullptr;
        }
        dead = service;
    }
}

}  // namespace

sp<IBase> getRawServiceInternal(const std::string& descriptor, const std::string& instance, bool /*retry*/,
                                bool getStub) {
    if (getStub) return nullptr;
    return lookUp(descriptor, instance);
}

status_t registerAsServiceInternal(const sp<IBase>& service, const std::string& name) {
    if (service == nullptr) return UNEXPECTED_NULL;
    const Return<bool> added = defaultServiceManager()->add(name, service);
    return added.isOk() && added ? static_cast<status_t>(OK) : static_cast<status_t>(UNKNOWN_ERROR);
}

}  // namespace android::hardware::details
