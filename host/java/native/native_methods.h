// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <jni.h>
#include <stddef.h>

namespace hidlaudio::java {

/** Returns the table entry of a native method. */
template <typename Function>
JNINativeMethod method(const char* name, const char* signature, Function* function) {
    return {const_cast<char*>(name), const_cast<char*>(signature), reinterpret_cast<void*>(function)};
}

/** The Java class of the functions that need no object. */
constexpr char kNative[] = "android/os/Native";

/** Registers native methods of a class. Returns false with an exception pending. */
template <size_t N>
bool registerMethods(JNIEnv* env, const char* className, const JNINativeMethod (&methods)[N]) {
    jclass owner = env->FindClass(className);
    return owner != nullptr && env->RegisterNatives(owner, methods, jint{N}) == JNI_OK;
}

/** Register the native methods of some Java classes. Return false with an exception pending. */
bool registerBinderMethods(JNIEnv* env);
bool registerRemoteBinderMethods(JNIEnv* env);
bool registerParcelMethods(JNIEnv* env);
bool registerHandleMethods(JNIEnv* env);

}  // namespace hidlaudio::java
