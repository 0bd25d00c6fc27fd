// SPDX-License-Identifier: Apache-2.0
#include "proxy.h"

#include <android-base/unique_fd.h>
#include <sys/eventfd.h>

#include <algorithm>

#include "host/hidl/src/connection/call.h"
#include "host/hidl/src/connection/peer_connection.h"
#include "host/hidl/src/threads/process.h"
#include "host/hidl/src/threads/sources.h"

namespace android::hardware {

BpHwBinder::BpHwBinder(std::shared_ptr<transport::PeerConnection> link, uint64_t object)
    : link_(std::move(link)), object_(object) {}

BpHwBinder::~BpHwBinder() {
    link_->forgetProxy(object_, this, known_);
}

status_t BpHwBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                              TransactCallback) {
    return transport::callRemote(*link_, object_, code, data, reply, (flags & FLAG_ONEWAY) != 0);
}

status_t BpHwBinder::linkToDeath(const sp<DeathRecipient>& recipient, void*, uint32_t) {
    if (recipient == nullptr) return BAD_VALUE;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (obituarySent_) return DEAD_OBJECT;
        recipients_.push_back(recipient);
    }
    // PeerConnection::end() has notified the recipients linked before it.
    return link_->ended() ? sendObituaryLater() : static_cast<status_t>(OK);
}

status_t BpHwBinder::sendObituaryLater() {
    base::unique_fd due(eventfd(1, EFD_CLOEXEC));
    if (due < 0) return UNKNOWN_ERROR;
    transport::Process::self().pool().add(std::make_shared<transport::ObituarySource>(this, std::move(due)));
    return OK;
}

status_t BpHwBinder::unlinkToDeath(const wp<DeathRecipient>& recipient, void*, uint32_t,
                                   wp<DeathRecipient>* outRecipient) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (obituarySent_) return DEAD_OBJECT;
    auto found = std::find(recipients_.begin(), recipients_.end(), recipient);
    if (found == recipients_.end()) return NAME_NOT_FOUND;
    if (outRecipient != nullptr) *outRecipient = *found;
    recipients_.erase(found);
    return OK;
}

void BpHwBinder::sendObituary() {
    std::vector<wp<DeathRecipient>> recipients;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        // Without recipients nothing is sent, so the next one to be linked must still be notified.
        if (recipients_.empty()) return;
        obituarySent_ = true;
        recipients.swap(recipients_);
    }
    for (const wp<DeathRecipient>& weak : recipients) {
        sp<DeathRecipient> recipient = weak.promote();
        if (recipient != nullptr) recipient->binderDied(this);
    }
}

}  // namespace android::hardware
