// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>
#include <utils/RefBase.h>

// Only in builds with the thread sanitizer. libutils is not instrumented, so the sanitizer does not see
// its reference counts: it reports a race between each destructor and other threads' accesses before
// they released their references. These functions take the place of the library's and report the
// counting to the sanitizer.
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
