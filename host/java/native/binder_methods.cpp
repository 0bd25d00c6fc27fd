// SPDX-License-Identifier: Apache-2.0
// Native methods of HwBinder, and functions of Native for it.
#include <android/hidl/base/1.0/BpHwBase.h>
#include <hidl/HidlTransportSupport.h>
#include <hwbinder/ProcessState.h>

#include "host/tv_files/tv_root.h"
#include "java_binder.h"
#include "java_parcel.h"
#include "java_vm.h"
#include "native_methods.h"

namespace hidlaudio::java {
namespace {

using android::sp;
using android::hardware::ProcessState;
using android::hidl::base::V1_0::BpHwBase;
using android::hidl::base::V1_0::IBase;
using hidlaudio::host::ScopedTvRoot;

jlong create(JNIEnv*, jclass) {
    return handleOf(new BinderHolder());
}

void destroy(JNIEnv*, jclass, jlong handle) {
    delete pointerOf<BinderHolder>(handle);
}

jint transact(JNIEnv* env, jobject self, jlong handle, jint code, jlong request, jlong reply, jint flags) {
    const sp<JavaBinder> binder = pointerOf<BinderHolder>(handle)->get(env, self);
    return binder->transact(static_cast<uint32_t>(code), **pointerOf<JavaParcel>(request),
                            &**pointerOf<JavaParcel>(reply), static_cast<uint32_t>(flags), nullptr);
}

jint registerService(JNIEnv* env, jobject self, jlong handle, jbyteArray name, jbyteArray tv) {
    const ScopedTvRoot scope(textOf(env, tv));
    const sp<IBase> service = new BpHwBase(pointerOf<BinderHolder>(handle)->get(env, self));
    return android::hardware::details::registerAsServiceInternal(service, textOf(env, name));
}

jobject getService(JNIEnv* env, jclass, jbyteArray interface, jbyteArray name, jboolean retry,
                   jbyteArray tv) {
    const ScopedTvRoot scope(textOf(env, tv));
    const sp<IBase> service = android::hardware::details::getRawServiceInternal(
        textOf(env, interface), textOf(env, name), retry != JNI_FALSE, false);
    if (service == nullptr) return nullptr;
    ProcessState::self()->startThreadPool();
    return javaFormOf(env, android::hardware::getOrCreateCachedBinder(service.get()));
}

void configurePool(JNIEnv*, jclass, jlong maxThreads, jboolean callerWillJoin) {
    android::hardware::configureRpcThreadpool(static_cast<size_t>(maxThreads), callerWillJoin != JNI_FALSE);
}

void joinPool(JNIEnv*, jclass) {
    android::hardware::joinRpcThreadpool();
}

}  // namespace

bool registerBinderMethods(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        method("transact", "(JIJJI)I", transact),
        method("registerService", "(J[B[B)I", registerService),
    };
    const JNINativeMethod functions[] = {
        method("newBinder", "()J", create),
        method("deleteBinder", "(J)V", destroy),
        method("getService", "([B[BZ[B)Landroid/os/IHwBinder;", getService),
        method("configurePool", "(JZ)V", configurePool),
        method("joinPool", "()V", joinPool),
    };
    return registerMethods(env, "android/os/HwBinder", methods) && registerMethods(env, kNative, functions);
}

}  // namespace hidlaudio::java
