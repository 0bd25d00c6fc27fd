// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlSupport"

#include <android/hidl/base/1.0/BpHwBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/Static.h>
#include <log/log.h>
#include <string.h>

#include <new>

namespace android::hardware {

using hidl::base::V1_0::IBase;

namespace details {

ConcurrentMap<std::string, BnConstructor>& getBnConstructorMap() {
    static auto* const map = new ConcurrentMap<std::string, BnConstructor>();
    return *map;
}

ConcurrentMap<const IBase*, wp<IBinder>>* const gBnMap = new ConcurrentMap<const IBase*, wp<IBinder>>();
ConcurrentMap<wp<IBase>, SchedPrio>* const gServicePrioMap = new ConcurrentMap<wp<IBase>, SchedPrio>();
ConcurrentMap<wp<IBase>, bool>* const gServiceSidMap = new ConcurrentMap<wp<IBase>, bool>();

std::string getDescriptor(IBase* interface) {
    std::string descriptor;
    Return<void> called =
        interface->interfaceDescriptor([&descriptor](const hidl_string& name) { descriptor = name; });
    if (!called.isOk()) {
        ALOGE("can't get an object's interface: %s", called.description().c_str());
        descriptor.clear();
    }
    return descriptor;
}

Return<bool> canCastInterface(IBase* interface, const char* castTo, bool emitError) {
    if (interface == nullptr) return false;
    if (strcmp(castTo, IBase::descriptor) == 0) return true;
    bool found = false;
    Return<void> called = interface->interfaceChain([&](const hidl_vec<hidl_string>& chain) {
        for (const hidl_string& name : chain) found = found || name == castTo;
    });
    if (called.isOk()) return found;
    return emitError ? StatusOf<void, bool>(called) : Return<bool>(false);
}

}  // namespace details

void hidl_binder_death_recipient::binderDied(const wp<IBinder>&) {
    sp<hidl_death_recipient> recipient = recipient_.promote();
    if (recipient != nullptr) recipient->serviceDied(cookie_, base_);
}

status_t readEmbeddedFromParcel(const hidl_handle& handle, const Parcel& parcel, size_t parentHandle,
                                size_t parentOffset) {
    const native_handle_t* received = nullptr;
    status_t status = parcel.readNullableEmbeddedNativeHandle(parentHandle, parentOffset, &received);
    // The structure came from the other process: construct a new one in its place.
    new (const_cast<hidl_handle*>(&handle)) hidl_handle(received);
    return status;
}

status_t writeEmbeddedToParcel(const hidl_handle& handle, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    return parcel->writeEmbeddedNativeHandle(handle, parentHandle, parentOffset);
}

status_t readEmbeddedFromParcel(const hidl_string& string, const Parcel& parcel, size_t parentHandle,
                                size_t parentOffset) {
    const size_t length = string.size();
    if (length >= UINT32_MAX) return BAD_VALUE;
    size_t ignored;
    const void* data = nullptr;
    status_t status = parcel.readEmbeddedBuffer(length + 1, &ignored, parentHandle,
                                                parentOffset + hidl_string::kOffsetOfBuffer, &data);
    if (status != OK) return status;
    const char* text = static_cast<const char*>(data);
    if (text[length] != '\0') return BAD_VALUE;
    auto* own = new (const_cast<hidl_string*>(&string)) hidl_string();
    own->setToExternal(text, length);
    return OK;
}

status_t writeEmbeddedToParcel(const hidl_string& string, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    size_t ignored;
    return parcel->writeEmbeddedBuffer(string.c_str(), string.size() + 1, &ignored, parentHandle,
                                       parentOffset + hidl_string::kOffsetOfBuffer);
}

status_t readFromParcel(Status* status, const Parcel& parcel) {
    int32_t exception = 0;
    status_t result = parcel.readInt32(&exception);
    if (result != OK || exception == Status::EX_NONE) return result;
    const char* message = parcel.readCString();
    if (message == nullptr) return NOT_ENOUGH_DATA;
    status->setException(exception, message);
    return OK;
}

status_t writeToParcel(const Status& status, Parcel* parcel) {
    status_t result = parcel->writeInt32(status.exceptionCode());
    if (result != OK || status.isOk()) return result;
    return parcel->writeCString(status.exceptionMessage());
}

sp<IBinder> getOrCreateCachedBinder(IBase* interface) {
    if (interface == nullptr) return nullptr;
    if (interface->isRemote()) {
        auto* proxy = dynamic_cast<BpHwRefBase*>(interface);
        return proxy != nullptr ? proxy->remote() : nullptr;
    }
    const std::string descriptor = details::getDescriptor(interface);
    return details::gBnMap->getOrMake<sp<IBinder>>(
        interface, [](const wp<IBinder>& known) { return known.promote(); },
        [&]() -> sp<IBinder> {
            auto make = details::getBnConstructorMap().get(descriptor, nullptr);
            if (make == nullptr) {
                ALOGE("no stub for %s in this program", descriptor.c_str());
                return nullptr;
            }
            return make(static_cast<void*>(interface));
        });
}

bool interfacesEqual(const sp<IBase>& left, const sp<IBase>& right) {
    if (left == nullptr || right == nullptr || !left->isRemote() || !right->isRemote()) return left == right;
    return getOrCreateCachedBinder(left.get()) == getOrCreateCachedBinder(right.get());
}

}  // namespace android::hardware
