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

/** An object that calls reach: one of this process (BHwBinder), or of another (BpHwBinder). */
class IBinder : public virtual RefBase {
  public:
    enum { FLAG_ONEWAY = 0x00000001 };

    /** Sends the reply from within a call; the rest of the method goes on without the caller. */
    using TransactCallback = std::function<void(Parcel&)>;

    class DeathRecipient : public virtual RefBase {
      public:
        virtual void binderDied(const wp<IBinder>& who) = 0;
    };

    /**
     * Calls method `code`. Blocks until the reply has come, unless oneway. Any thread.
     *
     * @return OK; DEAD_OBJECT where the other process is gone; FAILED_TRANSACTION
     *         where arguments or reply are too large; or what the callee's stub gave
     */
    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                              TransactCallback callback = nullptr) = 0;

    /** INVALID_OPERATION on a local binder, DEAD_OBJECT where the notice was given already. */
    virtual status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                                 uint32_t flags = 0) = 0;
    /** NAME_NOT_FOUND where `recipient` is not linked. */
    virtual status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                                   uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) = 0;

    virtual BHwBinder* localBinder() { return nullptr; }
    virtual BpHwBinder* remoteBinder() { return nullptr; }

  protected:
    ~IBinder() override = default;
};

}  // namespace android::hardware
