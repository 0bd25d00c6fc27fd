// SPDX-License-Identifier: Apache-2.0
// Prepares the library when the virtual machine has loaded it.
#include "java_vm.h"
#include "native_methods.h"

namespace hidlaudio::java {
namespace {

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
    jclass parcel;
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
           (parcel = env->FindClass("android/os/HwParcel")) != nullptr &&
           (java.handleOfParcel = env->GetFieldID(parcel, "handle", "J")) != nullptr &&
           (java.throwReleased = env->GetMethodID(parcel, "handle", "()J")) != nullptr &&
           (java.byteArray = classOf(env, "[B")) != nullptr;
}

}  // namespace
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
