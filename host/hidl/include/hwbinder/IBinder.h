// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>

#include <functional>

namespace android::hardware {

class BHwBinder;
class BpHwBinder;
class Parcel;

/** Target of calls: an object of this process (BHwBinder) or of another process (BpHwBinder). */
class IBinder : public virtual RefBase {
  public:
    enum { FLAG_ONEWAY = 0x00000001 };

    /** Sends the reply before the method returns; the caller does not wait for the rest of the method. */
    using TransactCallback = std::function<void(Parcel&)>;

    class DeathRecipient : public virtual RefBase {
      public:
        virtual void binderDied(const wp<IBinder>& who) = 0;
    };

    /**
     * Calls method `code`. Blocks until the reply has arrived, unless the call is oneway. Any thread.
     *
     * @return OK; DEAD_OBJECT if the other process has ended; FAILED_TRANSACTION if the arguments or
     *         the reply are too large or find no room in the receive buffer; a negative errno if
     *         descriptors or memory have run out; otherwise the status that the callee's stub returned
     */
    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                              TransactCallback callback = nullptr) = 0;

    /** Returns INVALID_OPERATION for a local binder, DEAD_OBJECT if the notices were sent already. */
    virtual status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                                 uint32_t flags = 0) = 0;
    /** Returns NAME_NOT_FOUND if `recipient` is not linked; other errors as linkToDeath(). */
    virtual status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                                   uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) = 0;

    virtual BHwBinder* localBinder() { return nullptr; }
    virtual BpHwBinder* remoteBinder() { return nullptr; }

  protected:
    ~IBinder() override = default;
};

}  // namespace android::hardware
