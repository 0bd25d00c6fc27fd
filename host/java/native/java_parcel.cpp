// SPDX-License-Identifier: Apache-2.0
#include "java_parcel.h"

namespace hidlaudio::java {

bool JavaParcel::send() {
    if (callback_ == nullptr || sent) return false;
    sent = true;
    if (*callback_) (*callback_)(*parcel_);
    return true;
}

}  // namespace hidlaudio::java
