// SPDX-License-Identifier: Apache-2.0
#include "java_parcel.h"

#include "java_vm.h"

namespace hidlaudio::java {

JavaParcel::~JavaParcel() {
    if (kept_.empty()) return;
    JNIEnv* env = environment();
    for (jobject array : kept_) {
        if (env != nullptr) env->DeleteGlobalRef(array);
    }
}

jobject JavaParcel::keep(JNIEnv* env, jobject array) {
    jobject reference = env->NewGlobalRef(array);
    if (reference != nullptr) kept_.push_back(reference);
    return reference;
}

bool JavaParcel::send() {
    if (callback_ == nullptr || sent) return false;
    sent = true;
    if (*callback_) (*callback_)(*parcel_);
    return true;
}

}  // namespace hidlaudio::java
