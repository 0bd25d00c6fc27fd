// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>
#include <utils/RefBase.h>

// Only in builds with the thread sanitizer. It cannot see the reference counts of
// libutils, which is not instrumented, and takes each destructor for a race with what
// other threads did to the object before they gave up their references. These stand
// before the library's own functions and tell it.
namespace android {

void RefBase::decStrong(const void* id) const {
    using Function = void (*)(const RefBase*, const void*);
    static const auto real =
        reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZNK7android7RefBase9decStrongEPKv"));
    __tsan_release(const_cast<RefBase*>(this));
    real(this, id);
}

// Called between the last decrement and the destructor.
void RefBase::onLastStrongRef(const void*) {
    __tsan_acquire(this);
}

}  // namespace android
