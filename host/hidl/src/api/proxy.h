// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <hwbinder/IBinder.h>

#include <memory>
#include <mutex>
#include <vector>

namespace android::hardware {

namespace transport {
class PeerConnection;
}

/** Object of another process. Each link has at most one proxy per object. */
class BpHwBinder : public IBinder {
  public:
    BpHwBinder(std::shared_ptr<transport::PeerConnection> link, uint64_t object);

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                      TransactCallback callback) override;
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie, uint32_t flags) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie, uint32_t flags,
                           wp<DeathRecipient>* outRecipient) override;
    BpHwBinder* remoteBinder() override { return this; }

    const std::shared_ptr<transport::PeerConnection>& link() const { return link_; }
    uint64_t object() const { return object_; }

    /** Adds references that the peer has counted for this proxy. Called by the link, with its mutex held. */
    void addKnown(uint32_t references) { known_ += references; }
    /** Notifies each recipient, once, that the peer has ended. */
    void sendObituary();

  protected:
    ~BpHwBinder() override;

  private:
    status_t sendObituaryLater();

    const std::shared_ptr<transport::PeerConnection> link_;
    const uint64_t object_;
    uint32_t known_ = 0;

    std::mutex mutex_;
    bool obituarySent_ GUARDED_BY(mutex_) = false;
    std::vector<wp<DeathRecipient>> recipients_ GUARDED_BY(mutex_);
};

}  // namespace android::hardware
