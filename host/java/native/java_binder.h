// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <hwbinder/Binder.h>
#include <jni.h>

#include <mutex>

namespace hidlaudio::java {

/**
 * The form in which other processes hold a Java object. It keeps the object alive, and ends when the last of
 * them has released it.
 */
class JavaBinder : public android::hardware::BHwBinder {
  public:
    JavaBinder(JNIEnv* env, jobject object) : object_(env->NewGlobalRef(object)) {}

    /** Returns the Java object. */
    jobject object() const { return object_; }

    /** Also accepts a parcel that was written in this process. */
    android::status_t transact(uint32_t code, const android::hardware::Parcel& data,
                               android::hardware::Parcel* reply, uint32_t flags,
                               TransactCallback callback) override;

  protected:
    ~JavaBinder() override;
    android::status_t onTransact(uint32_t code, const android::hardware::Parcel& data,
                                 android::hardware::Parcel* reply, uint32_t flags,
                                 TransactCallback callback) override;

  private:
    jobject object_;
};

/** Belongs to one Java object; creates its JavaBinder when the object is passed to another process. */
class BinderHolder {
  public:
    /** Returns the present JavaBinder of `object`, or a new one. Any thread. */
    android::sp<JavaBinder> get(JNIEnv* env, jobject object);

  private:
    std::mutex mutex_;
    android::wp<JavaBinder> binder_ GUARDED_BY(mutex_);
};

/**
 * Returns the Java form of a binder: the object itself if it is a Java object of this process, a new
 * HwRemoteBinder for others, or null.
 */
jobject javaFormOf(JNIEnv* env, const android::sp<android::hardware::IBinder>& binder);

}  // namespace hidlaudio::java
