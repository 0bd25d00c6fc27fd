// SPDX-License-Identifier: Apache-2.0
// Functions of Native for NativeHandle and HidlSupport.
#include <errno.h>
#include <fcntl.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include "java_vm.h"
#include "native_methods.h"

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
    const JNINativeMethod functions[] = {
        method("descriptorOf", "(I)Ljava/io/FileDescriptor;", descriptorOf),
        method("numberOf", "(Ljava/io/FileDescriptor;)I", numberOf),
        method("duplicate", "(I)I", duplicate),
        method("closeDescriptor", "(I)V", closeDescriptor),
        method("processId", "()I", processId),
    };
    return registerMethods(env, kNative, functions);
}

}  // namespace hidlaudio::java
