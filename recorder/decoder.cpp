// SPDX-License-Identifier: Apache-2.0
#include "decoder.h"

#include <hidl/HidlBinderSupport.h>
#include <inttypes.h>
#include <stdio.h>

namespace hidlaudio::recorder {

void writeObject(Text& text, android::hidl::base::V1_0::IBase* object) {
    if (object == nullptr) return text.null();
    const auto binder = android::hardware::getOrCreateCachedBinder(object);
    char address[20];
    snprintf(address, sizeof(address), "%" PRIxPTR, reinterpret_cast<uintptr_t>(binder.get()));
    text.begin('{');
    text.key("object"), text.string(address);
    text.end('}');
}

void write(Text& text, const android::hardware::hidl_handle& value) {
    const native_handle_t* handle = value.getNativeHandle();
    if (handle == nullptr) return text.null();
    text.begin('{');
    text.key("descriptors"), write(text, handle->numFds);
    text.key("integers"),
        writeElements(text, handle->data + handle->numFds, static_cast<size_t>(handle->numInts));
    text.end('}');
}

}  // namespace hidlaudio::recorder
