// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hwbinder/Parcel.h>
#include <jni.h>

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

    ~JavaParcel();
    JavaParcel(const JavaParcel&) = delete;
    JavaParcel& operator=(const JavaParcel&) = delete;

    /**
     * Returns a reference to an array that lives as long as the parcel, because a large array is copied only
     * when the parcel is sent. Returns null with an exception pending if there is no memory.
     */
    jobject keep(JNIEnv* env, jobject array);
    /** Sends a reply. Returns false if the parcel is no reply or was sent already. */
    bool send();

    bool sent = false;

  private:
    std::vector<jobject> kept_;
    std::optional<android::hardware::Parcel> own_;
    android::hardware::Parcel* const parcel_;
    TransactCallback* const callback_ = nullptr;
};

}  // namespace hidlaudio::java
