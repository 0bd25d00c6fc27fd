// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlTransportUtils.h>
#include <hidl/Static.h>

namespace android::hardware::details {

/**
 * Returns `interface` in the in-process wrapper of its most derived interface, or null if the program
 * has no such wrapper.
 */
sp<hidl::base::V1_0::IBase> wrapPassthroughInternal(const sp<hidl::base::V1_0::IBase>& interface);

template <typename IType>
sp<IType> wrapPassthrough(const sp<IType>& interface) {
    if (interface == nullptr || interface->isRemote()) return interface;
    return static_cast<IType*>(wrapPassthroughInternal(interface).get());
}

}  // namespace android::hardware::details
