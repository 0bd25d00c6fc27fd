// SPDX-License-Identifier: Apache-2.0
// Native methods of HwRemoteBinder. Its handle is an IBinder, to which it holds a reference.
#include <hwbinder/IBinder.h>
#include <hwbinder/ProcessState.h>

#include "java_parcel.h"
#include "java_vm.h"
#include "native_methods.h"

namespace hidlaudio::java {
namespace {

using android::sp;
using android::wp;
using android::hardware::IBinder;

/** Passes a death notice to a HwRemoteBinder.Link, unless that has been collected. */
class JavaRecipient : public IBinder::DeathRecipient {
  public:
    JavaRecipient(JNIEnv* env, jobject link) : link_(env->NewWeakGlobalRef(link)) {}

    void binderDied(const wp<IBinder>&) override {
        JNIEnv* env = environment();
        jobject link = env != nullptr ? env->NewLocalRef(link_) : nullptr;
        if (link == nullptr) return;
        env->CallVoidMethod(link, gJava.died);
        if (env->ExceptionCheck()) env->ExceptionClear();  // no memory; others were reported
        env->DeleteLocalRef(link);
    }

  protected:
    ~JavaRecipient() override {
        JNIEnv* env = environment();
        if (env != nullptr) env->DeleteWeakGlobalRef(link_);
    }

  private:
    jweak link_;
};

jint transact(JNIEnv*, jobject, jlong handle, jint code, jlong request, jlong reply, jint flags) {
    return pointerOf<IBinder>(handle)->transact(static_cast<uint32_t>(code), **pointerOf<JavaParcel>(request),
                                                &**pointerOf<JavaParcel>(reply), static_cast<uint32_t>(flags),
                                                nullptr);
}

// Returns the recipient, with a reference for the link, or 0 if the notice was sent already.
jlong linkToDeath(JNIEnv* env, jobject, jlong handle, jobject link) {
    const sp<JavaRecipient> recipient = new JavaRecipient(env, link);
    android::hardware::ProcessState::self()->startThreadPool();
    if (pointerOf<IBinder>(handle)->linkToDeath(recipient) != android::OK) return 0;
    recipient->incStrong(nullptr);
    return handleOf(recipient.get());
}

jboolean unlinkToDeath(JNIEnv*, jobject, jlong handle, jlong link) {
    const sp<JavaRecipient> recipient = pointerOf<JavaRecipient>(link);
    return pointerOf<IBinder>(handle)->unlinkToDeath(recipient) == android::OK ? JNI_TRUE : JNI_FALSE;
}

void releaseLink(JNIEnv*, jclass, jlong link) {
    pointerOf<JavaRecipient>(link)->decStrong(nullptr);
}

void release(JNIEnv*, jclass, jlong handle) {
    pointerOf<IBinder>(handle)->decStrong(nullptr);
}

}  // namespace

bool registerRemoteBinderMethods(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        method("transact", "(JIJJI)I", transact),
        method("linkToDeath", "(JLandroid/os/HwRemoteBinder$Link;)J", linkToDeath),
        method("unlinkToDeath", "(JJ)Z", unlinkToDeath),
        method("releaseLink", "(J)V", releaseLink),
        method("release", "(J)V", release),
    };
    return registerMethods(env, "android/os/HwRemoteBinder", methods);
}

}  // namespace hidlaudio::java
