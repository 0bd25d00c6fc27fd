// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/HidlTransportUtils.h>
#include <hidl/Status.h>
#include <hwbinder/IBinder.h>
#include <hwbinder/Parcel.h>

#include <new>
#include <type_traits>

namespace android::hardware {

/** Carries a death notice from the transport to an interface's recipient. */
struct hidl_binder_death_recipient : IBinder::DeathRecipient {
    hidl_binder_death_recipient(const sp<hidl_death_recipient>& recipient, uint64_t cookie,
                                const sp<hidl::base::V1_0::IBase>& base)
        : recipient_(recipient), cookie_(cookie), base_(base) {}
    void binderDied(const wp<IBinder>& who) override;
    wp<hidl_death_recipient>& getRecipient() { return recipient_; }

  private:
    wp<hidl_death_recipient> recipient_;
    uint64_t cookie_;
    wp<hidl::base::V1_0::IBase> base_;
};

// Read and write HIDL types in a parcel. `parentHandle` identifies the buffer that contains the
// string, vector or handle, and `parentOffset` is its offset in that buffer. Readers of strings and
// vectors check that the sender wrote the same two values.

status_t readEmbeddedFromParcel(const hidl_handle& handle, const Parcel& parcel, size_t parentHandle,
                                size_t parentOffset);
status_t writeEmbeddedToParcel(const hidl_handle& handle, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset);
status_t readEmbeddedFromParcel(const hidl_string& string, const Parcel& parcel, size_t parentHandle,
                                size_t parentOffset);
status_t writeEmbeddedToParcel(const hidl_string& string, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset);

namespace details {
// Whether every bit pattern is a valid value of T. A vector of such a type may lie in memory that
// the other process can still write to.
template <typename T>
constexpr bool kIsPlainData =
    (std::is_arithmetic<T>::value && !std::is_same<T, bool>::value) || std::is_enum<T>::value;
}  // namespace details

template <typename T>
status_t writeEmbeddedToParcel(const hidl_vec<T>& vec, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset, size_t* childHandle) {
    return parcel->writeEmbeddedBuffer(vec.data(), sizeof(T) * vec.size(), childHandle, parentHandle,
                                       parentOffset + hidl_vec<T>::kOffsetOfBuffer, details::kIsPlainData<T>);
}

template <typename T>
status_t readEmbeddedFromParcel(const hidl_vec<T>& vec, const Parcel& parcel, size_t parentHandle,
                                size_t parentOffset, size_t* childHandle) {
    const size_t count = vec.size();
    if (count > SIZE_MAX / sizeof(T)) return BAD_VALUE;
    const void* data = nullptr;
    status_t status = parcel.readEmbeddedBuffer(sizeof(T) * count, childHandle, parentHandle,
                                                parentOffset + hidl_vec<T>::kOffsetOfBuffer, &data,
                                                details::kIsPlainData<T>);
    if (status != OK) return status;
    // The structure with its pointer and owner flag came from the other process: construct a new one
    // in its place.
    auto* own = new (const_cast<hidl_vec<T>*>(&vec)) hidl_vec<T>();
    own->setToExternal(static_cast<T*>(const_cast<void*>(data)), count);
    return OK;
}

status_t readFromParcel(Status* status, const Parcel& parcel);
status_t writeToParcel(const Status& status, Parcel* parcel);

/**
 * Returns the binder through which `interface` is passed: the stub of a local object (one per
 * object), or the remote binder of a proxy. Returns `nullptr` if `interface` is null or the program
 * has no stub for it.
 */
sp<IBinder> getOrCreateCachedBinder(hidl::base::V1_0::IBase* interface);

/**
 * Returns the interface behind a received binder: the object itself if it is local, otherwise a new
 * proxy. Returns null if `binder` is null or a local object does not implement IType. A local object
 * whose stub is not generated C++, such as a Java object, gets a proxy too.
 */
template <typename IType, typename ProxyType, typename StubType>
sp<IType> fromBinder(const sp<IBinder>& binder) {
    if (binder == nullptr) return nullptr;
    if (binder->localBinder() == nullptr) return new ProxyType(binder);
    auto* stub = dynamic_cast<hidl::base::V1_0::BnHwBase*>(binder.get());
    if (stub == nullptr) return new ProxyType(binder);
    sp<hidl::base::V1_0::IBase> base = stub->getImpl();
    if (!details::canCastInterface(base.get(), IType::descriptor).withDefault(false)) return nullptr;
    return static_cast<IType*>(base.get());
}

}  // namespace android::hardware
