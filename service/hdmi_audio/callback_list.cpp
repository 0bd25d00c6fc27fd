// SPDX-License-Identifier: Apache-2.0
#include "callback_list.h"

#include <hidl/HidlBinderSupport.h>

namespace com::tovi::dtv::hardware::audio::hdmi_audio {
namespace {

using ::android::sp;
using ::android::hidl::base::V1_0::IBase;

/**
 * Returns an address that identifies the object behind an interface as long as the interface exists. Each
 * call that passes an object of a client creates another proxy for it, but all proxies share one binder.
 */
const void* identify(const sp<IBase>& interface) {
    if (!interface->isRemote()) return interface.get();
    return ::android::hardware::getOrCreateCachedBinder(interface.get()).get();
}

}  // namespace

void CallbackList::add(const Callback& callback) {
    byObject_[identify(callback)].push_back(callbacks_.insert(callbacks_.end(), callback));
}

size_t CallbackList::remove(const sp<IBase>& who) {
    const auto found = byObject_.find(identify(who));
    if (found == byObject_.end()) return 0;
    const size_t count = found->second.size();
    for (const Entry& entry : found->second) callbacks_.erase(entry);
    byObject_.erase(found);
    return count;
}

}  // namespace com::tovi::dtv::hardware::audio::hdmi_audio
