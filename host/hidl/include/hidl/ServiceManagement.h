// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utils/StrongPointer.h>

namespace android::hidl::manager::V1_0 {
struct IServiceManager;  // as on the platform, callers include its header
}

namespace android::hardware {

/** Returns the service manager of the virtual TV. Never null. */
sp<hidl::manager::V1_0::IServiceManager> defaultServiceManager();

}  // namespace android::hardware
