// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hwbinder/Parcel.h>
#include <stddef.h>

#include <memory>
#include <optional>
#include <vector>

namespace hidlaudio::java {

/** The native part of a Java HwParcel. One thread at a time. */
class JavaParcel {
  public:
    using TransactCallback = android::hardware::IBinder::TransactCallback;

    /** Owns its parcel. */
    JavaParcel() : own_(std::in_place), parcel_(&*own_) {}
    /** Refers to the parcel of a call that this process serves; `callback` is set if it is the reply. */
    explicit JavaParcel(android::hardware::Parcel* parcel, TransactCallback* callback = nullptr)
        : parcel_(parcel), callback_(callback) {}

    android::hardware::Parcel& operator*() const { return *parcel_; }
    android::hardware::Parcel* operator->() const { return parcel_; }

    /** Returns memory that lives as long as the parcel, because it is sent only later. */
    void* store(size_t size) {
        storage_.emplace_back(new uint8_t[size]);
        return storage_.back().get();
    }
    /** Sends a reply. Returns false if the parcel is no reply or was sent already. */
    bool send();

    bool sent = false;

  private:
    // Destroyed after the parcel, which refers to it.
    std::vector<std::unique_ptr<uint8_t[]>> storage_;
    std::optional<android::hardware::Parcel> own_;
    android::hardware::Parcel* const parcel_;
    TransactCallback* const callback_ = nullptr;
};

}  // namespace hidlaudio::java
