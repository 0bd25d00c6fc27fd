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

jclass classOf(JNIEnv* env, const char* name) {
    jclass local = env->FindClass(name);
    return local != nullptr ? static_cast<jclass>(env->NewGlobalRef(local)) : nullptr;
}

// Looks all members up. Returns false with an exception pending if one is missing.
bool findMembers(JNIEnv* env) {
    JavaMembers& java = gJava;
    jclass binder;
    jclass link;
    jclass blob;
    return (java.statuses = classOf(env, "android/os/Statuses")) != nullptr &&
           (java.checkParcel = env->GetStaticMethodID(java.statuses, "checkParcel", "(I)V")) != nullptr &&
           (binder = env->FindClass("android/os/HwBinder")) != nullptr &&
           (java.dispatch = env->GetMethodID(binder, "dispatch", "(IJJI)I")) != nullptr &&
           (java.remoteBinder = classOf(env, "android/os/HwRemoteBinder")) != nullptr &&
           (java.newRemoteBinder = env->GetMethodID(java.remoteBinder, "<init>", "(J)V")) != nullptr &&
           (link = env->FindClass("android/os/HwRemoteBinder$Link")) != nullptr &&
           (java.died = env->GetMethodID(link, "died", "()V")) != nullptr &&
           (java.fileDescriptor = classOf(env, "java/io/FileDescriptor")) != nullptr &&
           (java.newFileDescriptor = env->GetMethodID(java.fileDescriptor, "<init>", "()V")) != nullptr &&
           (java.numberOfDescriptor = env->GetFieldID(java.fileDescriptor, "fd", "I")) != nullptr &&
           (blob = env->FindClass("android/os/HwBlob")) != nullptr &&
           (java.handleOfBlob = env->GetFieldID(blob, "handle", "J")) != nullptr &&
           (java.byteArray = classOf(env, "[B")) != nullptr;
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

extern "C" JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* vm, void*) {
    using namespace hidlaudio::java;
    gJava.vm = vm;
    JNIEnv* env = environment();
    const bool complete = findMembers(env) && registerBinderMethods(env) &&
                          registerRemoteBinderMethods(env) && registerParcelMethods(env) &&
                          registerHandleMethods(env);
    return complete ? JNI_VERSION_1_8 : JNI_ERR;
}
