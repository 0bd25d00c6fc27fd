// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hidl/HidlTransportUtils.h>
#include <hwbinder/IInterface.h>

#include <mutex>
#include <string>
#include <vector>

namespace android::hardware {

/**
 * Sets how many threads serve incoming calls and death notices in this process. Call it
 * before anything that starts the pool: registering a service, passing an object to another
 * process, linkToDeath, waiting for a service. An unconfigured pool starts with one thread,
 * which stays even if fewer are configured later. Aborts on (0, true), and if a started pool
 * would get fewer threads than were configured before.
 *
 * @param maxThreads     maximum number of threads, including the caller's
 * @param callerWillJoin whether one of them is a thread that calls joinRpcThreadpool(). With
 *                       a maximum of 1, nothing is served before that call
 */
void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin);

/**
 * Serves calls on the calling thread and never returns. Aborts if configureRpcThreadpool() was not
 * called with callerWillJoin = true.
 */
void joinRpcThreadpool();

/** Returns whether both are null or refer to the same object. */
bool interfacesEqual(const sp<hidl::base::V1_0::IBase>& left, const sp<hidl::base::V1_0::IBase>& right);

/**
 * Stores the scheduling policy for the service's stub; it has no effect on a workstation. Returns
 * false if `service` is null or remote.
 */
bool setMinSchedulerPolicy(const sp<hidl::base::V1_0::IBase>& service, int policy, int priority);

namespace details {

/** Returns the ID of this process, for DebugInfo. */
int32_t getPidIfSharable();

/**
 * Returns `parent` as an IChild: the object itself if it is local, or a new proxy if it is remote.
 * Returns null if `parent` is null or does not implement IChild.
 *
 * @param emitError whether to return a transport error; otherwise it counts as "not implemented"
 */
template <typename IChild, typename IParent, typename BpChild>
Return<sp<IChild>> castInterface(sp<IParent> parent, const char* childIndicator, bool emitError) {
    if (parent == nullptr) return sp<IChild>();
    Return<bool> canCast = canCastInterface(parent.get(), childIndicator, emitError);
    if (!canCast.isOk()) return StatusOf<bool, sp<IChild>>(canCast);
    if (!canCast) return sp<IChild>();
    if (!parent->isRemote()) return sp<IChild>(static_cast<IChild*>(parent.get()));
    return sp<IChild>(new BpChild(getOrCreateCachedBinder(parent.get())));
}

/**
 * Returns the service registered as `instance` of the interface `descriptor`, which
 * has confirmed that it implements that interface. The look-up blocks while the service is busy.
 *
 * @param retry   whether to wait, in real time, for a service that the TV's manifest declares and
 *                that is not registered; waiting starts the process's thread pool
 * @param getStub if true, the function returns null: a workstation loads no implementation into
 *                the caller
 * @return null if the service is not registered or cannot be called, or if the TV has a manifest
 *         that does not declare it
 */
sp<hidl::base::V1_0::IBase> getRawServiceInternal(const std::string& descriptor, const std::string& instance,
                                                  bool retry, bool getStub);

template <typename BpType, typename IType = typename BpType::Pure>
sp<IType> getServiceInternal(const std::string& instance, bool retry, bool getStub) {
    sp<hidl::base::V1_0::IBase> base = getRawServiceInternal(IType::descriptor, instance, retry, getStub);
    if (base == nullptr) return nullptr;
    if (base->isRemote()) return new BpType(getOrCreateCachedBinder(base.get()));
    return static_cast<IType*>(base.get());
}

/**
 * Registers `service` as `name` under every interface that it implements. If the TV has a
 * manifest, it must declare the most derived one; the others are registered along with it.
 *
 * @return OK; UNEXPECTED_NULL if `service` is null; UNKNOWN_ERROR if the name is undeclared or
 *         unusable, or the registry cannot be written
 */
status_t registerAsServiceInternal(const sp<hidl::base::V1_0::IBase>& service, const std::string& name);

}  // namespace details
}  // namespace android::hardware
