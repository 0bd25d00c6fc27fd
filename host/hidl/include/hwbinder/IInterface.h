// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hwbinder/Binder.h>

namespace android::hardware {

/** Gives access to the binder of a proxy. */
class IInterface : public virtual RefBase {
  public:
    /** Returns the binder of `interface`, or null if `interface` is null. */
    static sp<IBinder> asBinder(const IInterface* interface) {
        return interface != nullptr ? interface->onAsBinder() : nullptr;
    }

  protected:
    ~IInterface() override = default;
    virtual IBinder* onAsBinder() const = 0;
};

/** Base of the generated proxies. */
template <typename INTERFACE>
class BpInterface : public INTERFACE, public IInterface, public BpHwRefBase {
  public:
    explicit BpInterface(const sp<IBinder>& binder) : BpHwRefBase(binder) {}

  protected:
    IBinder* onAsBinder() const override { return remote(); }
};

}  // namespace android::hardware
