// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utils/StrongPointer.h>

namespace android::hardware::details {

/** Returns `interface`: there are no in-process wrappers (TaskRunner.h). */
template <typename IType>
sp<IType> wrapPassthrough(const sp<IType>& interface) {
    return interface;
}

}  // namespace android::hardware::details
