// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>

namespace android::hardware {

// Fast message queues. No interface here uses them, but every generated file checks the layout of
// the descriptor.
enum MQFlavor : uint32_t { kSynchronizedReadWrite = 0x01, kUnsynchronizedWrite = 0x02 };

struct GrantorDescriptor {
    uint32_t flags;
    uint32_t fdIndex;
    uint32_t offset;
    uint64_t extent;
};

template <typename T, MQFlavor flavor>
struct MQDescriptor {
  private:
    hidl_vec<GrantorDescriptor> grantors_;
    details::hidl_pointer<native_handle_t> handle_;
    uint32_t quantum_ = 0;
    uint32_t flags_ = flavor;
};

template <typename T>
using MQDescriptorSync = MQDescriptor<T, kSynchronizedReadWrite>;
template <typename T>
using MQDescriptorUnsync = MQDescriptor<T, kUnsynchronizedWrite>;

}  // namespace android::hardware
