// SPDX-License-Identifier: Apache-2.0
// Native methods of NativeHandle and HidlSupport.
#include <errno.h>
#include <fcntl.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include <iterator>

#include "java_vm.h"

namespace hidlaudio::java {
namespace {

jobject descriptorOf(JNIEnv* env, jclass, jint number) {
    jobject descriptor = env->NewObject(gJava.fileDescriptor, gJava.newFileDescriptor);
    if (descriptor != nullptr) env->SetIntField(descriptor, gJava.numberOfDescriptor, number);
    return descriptor;
}

jint numberOf(JNIEnv* env, jclass, jobject descriptor) {
    return descriptor != nullptr ? env->GetIntField(descriptor, gJava.numberOfDescriptor) : -1;
}

// Returns the copy, or a negative errno.
jint duplicate(JNIEnv*, jclass, jint number) {
    const int copy = fcntl(number, F_DUPFD_CLOEXEC, 0);
    return copy >= 0 ? copy : -errno;
}

void closeDescriptor(JNIEnv*, jclass, jint number) {
    close(number);
}

jint processId(JNIEnv*, jclass) {
    return android::hardware::details::getPidIfSharable();
}

}  // namespace

bool registerHandleMethods(JNIEnv* env) {
    const JNINativeMethod ofHandle[] = {
        method("descriptorOf", "(I)Ljava/io/FileDescriptor;", descriptorOf),
        method("numberOf", "(Ljava/io/FileDescriptor;)I", numberOf),
        method("duplicate", "(I)I", duplicate),
        method("closeDescriptor", "(I)V", closeDescriptor),
    };
    const JNINativeMethod ofSupport[] = {method("getPidIfSharable", "()I", processId)};
    jclass handle = env->FindClass("android/os/NativeHandle");
    if (handle == nullptr || env->RegisterNatives(handle, ofHandle, std::size(ofHandle)) != JNI_OK)
        return false;
    jclass support = env->FindClass("android/os/HidlSupport");
    return support != nullptr && env->RegisterNatives(support, ofSupport, std::size(ofSupport)) == JNI_OK;
}

}  // namespace hidlaudio::java
