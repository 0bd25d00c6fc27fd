// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hwbinder/IBinder.h>

#include <atomic>
#include <memory>

namespace android::hardware {

namespace transport {
struct OnewayQueue;
}

/** Object of this process. The generated stubs derive from it. */
class BHwBinder : public IBinder {
  public:
    BHwBinder();

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                      TransactCallback callback = nullptr) override;
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie, uint32_t flags) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie, uint32_t flags,
                           wp<DeathRecipient>* outRecipient) override;
    BHwBinder* localBinder() override { return this; }

    /** Returns the object's number in messages. It is the same for all peers and never reused. */
    uint64_t exportId();
    /** Returns the queue of oneway calls to the object, which are served one after another. */
    transport::OnewayQueue& onewayQueue() { return *onewayQueue_; }

  protected:
    ~BHwBinder() override;
    virtual status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                                TransactCallback callback = nullptr) = 0;
    void setRequestingSid(bool) {}

    // Set by the generated stubs to the values that setMinSchedulerPolicy() stored.
    int mSchedPolicy = 0;
    int mSchedPriority = 0;

  private:
    std::atomic<uint64_t> exportId_{0};
    std::unique_ptr<transport::OnewayQueue> onewayQueue_;
};

/** Base of all proxies; holds the binder of the remote object. */
class BpHwRefBase : public virtual RefBase {
  public:
    IBinder* remote() const { return remote_.get(); }

  protected:
    explicit BpHwRefBase(const sp<IBinder>& binder) : remote_(binder) {}

  private:
    const sp<IBinder> remote_;
};

}  // namespace android::hardware
