// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <jni.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <string>

namespace android::hardware {
class IBinder;
}

namespace hidlaudio::java {

/** Classes and members of the Java part. Written by JNI_OnLoad(), constant afterwards. */
struct JavaMembers {
    JavaVM* vm;
    jclass statuses;
    jmethodID checkParcel;
    jmethodID dispatch;  // of HwBinder
    jclass remoteBinder;
    jmethodID newRemoteBinder;
    jmethodID died;  // of HwRemoteBinder.Link
    jclass fileDescriptor;
    jmethodID newFileDescriptor;
    jfieldID numberOfDescriptor;
    jfieldID handleOfBlob;
    jfieldID handleOfParcel;
    jmethodID throwReleased;  // HwParcel.handle(), which throws if that field is 0
    jclass byteArray;
};

extern JavaMembers gJava;

/**
 * Returns the environment of the calling thread, or `nullptr` if the virtual machine has ended. Attaches a
 * native thread as a daemon; it is detached when it ends.
 */
JNIEnv* environment();

/** Throws the exception of a parcel's error, unless `status` is OK. */
void throwIfFailed(JNIEnv* env, android::status_t status);

/** Returns the bytes of an array, or an empty text if it is null. */
std::string textOf(JNIEnv* env, jbyteArray bytes);

/** Returns a new array. Returns null with an exception pending if there is no memory. */
jbyteArray bytesOf(JNIEnv* env, const void* data, size_t size);

/** Returns the pointer that Java keeps as `handle`. */
template <typename T>
T* pointerOf(jlong handle) {
    return reinterpret_cast<T*>(static_cast<uintptr_t>(handle));
}

template <typename T>
jlong handleOf(T* pointer) {
    return static_cast<jlong>(reinterpret_cast<uintptr_t>(pointer));
}

}  // namespace hidlaudio::java
