// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <utils/StrongPointer.h>

namespace android::hardware {

/** The registry of the virtual TV. Never null. */
sp<hidl::manager::V1_0::IServiceManager> defaultServiceManager();

}  // namespace android::hardware
