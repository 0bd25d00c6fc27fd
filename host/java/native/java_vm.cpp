// SPDX-License-Identifier: Apache-2.0
#include "java_vm.h"

namespace hidlaudio::java {

JavaMembers gJava{};

namespace {

/** Detaches the thread when it ends. */
struct Attachment {
    bool attached = false;
    ~Attachment() {
        if (attached) gJava.vm->DetachCurrentThread();
    }
};

JNIEnv* attach() {
    static thread_local Attachment attachment;
    JNIEnv* env = nullptr;
    JavaVMAttachArgs arguments{JNI_VERSION_1_8, const_cast<char*>("HwBinder"), nullptr};
    if (gJava.vm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), &arguments) != JNI_OK)
        return nullptr;
    attachment.attached = true;
    return env;
}

}  // namespace

JNIEnv* environment() {
    JNIEnv* env = nullptr;
    const jint state = gJava.vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_8);
    return state == JNI_EDETACHED ? attach() : env;
}

void throwIfFailed(JNIEnv* env, android::status_t status) {
    if (status != android::OK) env->CallStaticVoidMethod(gJava.statuses, gJava.checkParcel, jint{status});
}

std::string textOf(JNIEnv* env, jbyteArray bytes) {
    if (bytes == nullptr) return "";
    std::string text(static_cast<size_t>(env->GetArrayLength(bytes)), '\0');
    env->GetByteArrayRegion(bytes, 0, static_cast<jsize>(text.size()), reinterpret_cast<jbyte*>(text.data()));
    return text;
}

jbyteArray bytesOf(JNIEnv* env, const void* data, size_t size) {
    jbyteArray bytes = env->NewByteArray(static_cast<jsize>(size));
    if (bytes != nullptr)
        env->SetByteArrayRegion(bytes, 0, static_cast<jsize>(size), static_cast<const jbyte*>(data));
    return bytes;
}

}  // namespace hidlaudio::java
