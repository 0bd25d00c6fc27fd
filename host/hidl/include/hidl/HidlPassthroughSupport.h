// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlTransportUtils.h>
#include <hidl/Static.h>

namespace android::hardware::details {

/** `interface` behind the in-process wrapper of its most derived interface, null where there is none. */
sp<hidl::base::V1_0::IBase> wrapPassthroughInternal(const sp<hidl::base::V1_0::IBase>& interface);

template <typename IType>
sp<IType> wrapPassthrough(const sp<IType>& interface) {
    if (interface == nullptr || interface->isRemote()) return interface;
    return static_cast<IType*>(wrapPassthroughInternal(interface).get());
}

}  // namespace android::hardware::details
