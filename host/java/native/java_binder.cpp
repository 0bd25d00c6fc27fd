// SPDX-License-Identifier: Apache-2.0
#include "java_binder.h"

#include "java_parcel.h"
#include "java_vm.h"

namespace hidlaudio::java {

using android::sp;
using android::status_t;
using android::hardware::IBinder;
using android::hardware::Parcel;

JavaBinder::~JavaBinder() {
    JNIEnv* env = environment();
    if (env != nullptr) env->DeleteGlobalRef(object_);
}

status_t JavaBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                              TransactCallback callback) {
    if (data.isReceived()) return onTransact(code, data, reply, flags, std::move(callback));
    Parcel request;
    Parcel results;
    status_t status = data.deliverTo(&request);
    if (status == android::OK) status = onTransact(code, request, &results, flags, nullptr);
    if (status != android::OK || (flags & FLAG_ONEWAY) != 0) return status;
    return results.deliverTo(reply);
}

status_t JavaBinder::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                                TransactCallback callback) {
    JNIEnv* env = environment();
    if (env == nullptr) return android::DEAD_OBJECT;
    JavaParcel request(const_cast<Parcel*>(&data));
    JavaParcel results(reply, &callback);
    const jint status = env->CallIntMethod(object_, gJava.dispatch, static_cast<jint>(code),
                                           handleOf(&request), handleOf(&results), static_cast<jint>(flags));
    if (env->ExceptionCheck()) {  // no memory for the Java parcels
        env->ExceptionDescribe();
        env->ExceptionClear();
        return android::UNKNOWN_ERROR;
    }
    if (results.sent || (flags & FLAG_ONEWAY) != 0) return android::OK;
    return status != android::OK ? status : static_cast<status_t>(android::UNKNOWN_ERROR);
}

sp<JavaBinder> BinderHolder::get(JNIEnv* env, jobject object) {
    std::lock_guard<std::mutex> lock(mutex_);
    sp<JavaBinder> binder = binder_.promote();
    if (binder == nullptr) {
        binder = new JavaBinder(env, object);
        binder_ = binder;
    }
    return binder;
}

jobject javaFormOf(JNIEnv* env, const sp<IBinder>& binder) {
    if (binder == nullptr) return nullptr;
    auto* local = dynamic_cast<JavaBinder*>(binder.get());
    if (local != nullptr) return env->NewLocalRef(local->object());
    binder->incStrong(nullptr);  // for the new object, which releases it
    jobject remote = env->NewObject(gJava.remoteBinder, gJava.newRemoteBinder, handleOf(binder.get()));
    if (remote == nullptr) binder->decStrong(nullptr);
    return remote;
}

}  // namespace hidlaudio::java
