// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "peer_connection.h"

#include <fcntl.h>
#include <log/log.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "call.h"
#include "host/hidl/src/api/proxy.h"
#include "host/hidl/src/threads/process.h"
#include "host/hidl/src/threads/sources.h"
#include "shortage.h"

namespace android::hardware::transport {
namespace {

std::atomic<uint64_t> gLinks{0};

constexpr int kRoomAttempts = 50;
constexpr std::chrono::microseconds kRoomPause{100};

// Time in which an ending process closes all its sockets.
constexpr int kEndPatience = 1000;  // milliseconds

bool isEmpty(int socket) {
    pollfd poll{socket, POLLIN, 0};
    return ::poll(&poll, 1, 0) == 0;
}

template <typename T>
void shutdownAll(const std::vector<T>& channels) {
    for (const auto& channel : channels) channel->shutdown();
}

}  // namespace

PeerConnection::PeerConnection(base::unique_fd control, pid_t pid, uid_t uid)
    : number(++gLinks),
      peerPid(pid),
      peerUid(uid),
      control_(std::make_shared<Channel>(std::move(control), Channel::Kind::Control)) {}

PeerConnection::~PeerConnection() {
    if (SpaceShare* share = share_.exchange(nullptr)) share->close();
    delete peerSpace_.load();
}

std::shared_ptr<Channel> PeerConnection::control() {
    std::lock_guard<std::mutex> lock(mutex_);
    return control_;
}

void PeerConnection::kill() {
    dead_.store(true, std::memory_order_release);
    // Destroyed after the mutex is released: the last reference to a channel may destroy proxies, whose
    // destructors lock the mutex.
    std::vector<std::shared_ptr<Channel>> peerChannels;
    std::lock_guard<std::mutex> lock(mutex_);
    if (control_ != nullptr) control_->shutdown();
    shutdownAll(callChannels_);
    channelIdle_.notify_all();
    for (const std::weak_ptr<Channel>& weak : peerChannels_) {
        if (auto channel = weak.lock()) peerChannels.push_back(std::move(channel));
    }
    shutdownAll(peerChannels);
}

status_t PeerConnection::reasonOfEnd() {
    const std::shared_ptr<Channel> channel = control();
    MessageHeader header{};
    // Without a pool thread, a kTurnedAway of the peer is still unread.
    if (channel != nullptr && channel->peek(&header) && header.type == kTurnedAway) turnAway(header.code);
    return reason_;
}

void PeerConnection::turnAway(uint32_t status) {
    const auto reason = static_cast<status_t>(status);
    if (reason >= OK || reason_.exchange(reason) == reason) return;
    ALOGE("process %d can't serve this one: %s", peerPid, strerror(-reason));
}

void PeerConnection::hangUp() {
    const std::shared_ptr<Channel> channel = control();
    if (channel != nullptr) channel->shutdown();
}

void PeerConnection::end() {
    kill();
    std::unordered_map<uint64_t, Export> exports;
    std::vector<std::shared_ptr<Channel>> channels;
    std::shared_ptr<Channel> control;
    std::vector<sp<BpHwBinder>> proxies;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ended_ = true;
        // A proxy of a dead peer keeps this link alive; it must not keep descriptors open.
        control.swap(control_);
        exports.swap(exports_);
        channels.swap(callChannels_);
        idleChannels_.clear();
        for (const auto& [object, weak] : proxies_) {
            sp<BpHwBinder> proxy = weak.promote();
            if (proxy != nullptr) proxies.push_back(proxy);
        }
    }
    if (SpaceShare* share = share_.exchange(nullptr)) share->close();
    // Destructors of objects may call the link: destroy the objects without the mutex.
    exports.clear();
    for (const sp<BpHwBinder>& proxy : proxies) proxy->sendObituary();
}

bool PeerConnection::ended() {
    std::lock_guard<std::mutex> lock(mutex_);
    return ended_;
}

status_t PeerConnection::flushReleases(Channel& control) {
    while (!pendingReleases_.empty()) {
        const auto [object, count] = *pendingReleases_.begin();
        const status_t status = control.send(messageHeader(kRelease, count, object));
        if (status != OK) return status;
        pendingReleases_.erase(pendingReleases_.begin());
    }
    return OK;
}

status_t PeerConnection::sendControl(const MessageHeader& header, const std::vector<int>& fds) {
    std::lock_guard<std::mutex> lock(controlMutex_);
    const std::shared_ptr<Channel> channel = control();
    if (channel == nullptr) return DEAD_OBJECT;
    const status_t status = flushReleases(*channel);
    return status == OK ? channel->send(header, fds) : status;
}

status_t PeerConnection::sendOneway(const MessageHeader& header, OutgoingBody& body,
                                    const std::vector<ObjectReference>& references) {
    std::lock_guard<std::mutex> lock(controlMutex_);
    const std::shared_ptr<Channel> channel = control();
    if (channel == nullptr) return DEAD_OBJECT;
    const status_t status = flushReleases(*channel);
    return status == OK ? send(*channel, header, body, references) : status;
}

// Claims room in the peer's receive buffer and stores it in the header. A two-way call retries for about
// 5 ms: the callee may have answered the previous call without having released its room.
status_t PeerConnection::claimRoom(MessageHeader* header, uint32_t size) {
    PeerSpace* space = size > kMaxUncounted ? peerSpace_.load() : nullptr;
    if (space == nullptr) return OK;
    const bool oneway = (header->flags & kOneway) != 0;
    PeerSpace::Claim claim = space->claim(size, oneway);
    const bool waits = header->type == kCall && !oneway;
    for (int i = 0; claim == PeerSpace::Claim::Refused && waits && i < kRoomAttempts; ++i) {
        std::this_thread::sleep_for(kRoomPause);
        claim = space->claim(size, oneway);
    }
    if (claim == PeerSpace::Claim::Refused) return FAILED_TRANSACTION;
    if (claim == PeerSpace::Claim::Granted) header->room = size;
    return OK;
}

status_t PeerConnection::send(Channel& channel, MessageHeader header, OutgoingBody& body,
                              const std::vector<ObjectReference>& references) {
    const bool oneway = (header.flags & kOneway) != 0;
    const size_t size = body.transactionSize();
    if (body.tooLarge || size > (oneway ? kTransactionLimit / 2 : kTransactionLimit))
        return FAILED_TRANSACTION;
    status_t status = claimRoom(&header, static_cast<uint32_t>(size));
    if (status != OK) return status;
    status = channel.send(header, body, references);
    if (status != OK && header.room > 0) peerSpace_.load()->giveBack(header.room, oneway);
    return status;
}

void PeerConnection::reportRefusal() {
    PeerSpace* space = peerSpace_;
    uint32_t audits = 0;
    if (space != nullptr && space->reportDue(&audits)) (void)sendControl(messageHeader(kRefused, audits));
}

void PeerConnection::announceReceiveSpace(Channel& channel) {
    if (share_.load() != nullptr) return;
    SpaceShare* share = ReceiveSpace::own().open(peerPid);
    if (share == nullptr) return;
    share_ = share;  // set before the peer can claim room
    if (channel.send(messageHeader(kReceiveSpace, share->slot()), ReceiveSpace::own().descriptors()) == OK)
        return;
    share_ = nullptr;
    share->close();
}

bool PeerConnection::mapReceiveSpace(IncomingMessage* message) {
    if (message->incomplete) return true;
    if (message->fdCount() != 2 || peerSpace_.load() != nullptr) return false;
    const std::vector<base::unique_fd>& fds = message->attachments->fds;
    const uint32_t slot = message->header.code;
    if (!PeerSpace::isSane(fds[0], fds[1], slot)) return false;
    peerSpace_ = PeerSpace::map(fds[0], fds[1], slot).release();
    if (peerSpace_.load() == nullptr) noteShortage("calls to a process are not counted", errno);
    return true;
}

status_t PeerConnection::sendControlWaiting(const MessageHeader& header, const std::vector<int>& fds) {
    status_t status;
    while ((status = sendControl(header, fds)) == WOULD_BLOCK) {
        const std::shared_ptr<Channel> channel = control();
        if (channel == nullptr || !channel->waitWritable()) return DEAD_OBJECT;
    }
    return status;
}

status_t PeerConnection::makeCallChannel(std::shared_ptr<Channel>* channel) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        const int error = errno;
        ALOGE("no socket pair for a call: %s", strerror(error));
        return -error;
    }
    base::unique_fd near(ends[0]);
    base::unique_fd far(ends[1]);
    const status_t status = sendControlWaiting(messageHeader(kNewCallChannel), {far.get()});
    if (status == OK) *channel = std::make_shared<Channel>(std::move(near), Channel::Kind::Call);
    return status;
}

status_t PeerConnection::acquireCallChannel(std::shared_ptr<Channel>* channel, bool* forOneCall) {
    static_assert(kMaxCallChannels < Process::kMaxChannelsOfPeer, "the peer would end the link");
    {
        std::lock_guard<std::mutex> lock(mutex_);
        while (!dead() && idleChannels_.empty() &&
               callChannels_.size() + openingChannels_ >= kMaxCallChannels)
            channelIdle_.wait(mutex_);
        if (dead()) return DEAD_OBJECT;
        *forOneCall = callChannels_.size() + openingChannels_ >= kMaxOwnChannels;
        if (!idleChannels_.empty()) {
            *channel = idleChannels_.back();
            idleChannels_.pop_back();
            return OK;
        }
        ++openingChannels_;
    }
    const status_t status = makeCallChannel(channel);
    std::lock_guard<std::mutex> lock(mutex_);
    --openingChannels_;
    if (status != OK) channelIdle_.notify_one();
    if (status != OK) return status;
    if (dead()) return DEAD_OBJECT;
    callChannels_.push_back(*channel);
    return OK;
}

status_t PeerConnection::lostCallChannel(const Channel& channel) {
    const std::shared_ptr<Channel> control = this->control();
    if (dead() || control == nullptr || control->closesWithin(kEndPatience)) return DEAD_OBJECT;
    ALOGE("process %d has closed a call channel, perhaps for lack of a descriptor: the call fails", peerPid);
    std::lock_guard<std::mutex> lock(mutex_);
    const auto isIt = [&channel](const auto& one) { return one.get() == &channel; };
    callChannels_.erase(std::remove_if(callChannels_.begin(), callChannels_.end(), isIt),
                        callChannels_.end());
    channelIdle_.notify_one();
    return FAILED_TRANSACTION;
}

void PeerConnection::releaseCallChannel(const std::shared_ptr<Channel>& channel) {
    std::lock_guard<std::mutex> lock(mutex_);
    // Not if lostCallChannel() has removed it.
    if (std::find(callChannels_.begin(), callChannels_.end(), channel) == callChannels_.end()) return;
    idleChannels_.push_back(channel);
    channelIdle_.notify_one();
}

bool PeerConnection::addPeerChannel(const std::shared_ptr<Channel>& channel) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto gone = [](const std::weak_ptr<Channel>& weak) { return weak.expired(); };
    peerChannels_.erase(std::remove_if(peerChannels_.begin(), peerChannels_.end(), gone),
                        peerChannels_.end());
    if (dead()) return false;
    peerChannels_.push_back(channel);
    return true;
}

size_t PeerConnection::peerChannels() const {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto open = [](const std::weak_ptr<Channel>& weak) { return !weak.expired(); };
    return static_cast<size_t>(std::count_if(peerChannels_.begin(), peerChannels_.end(), open));
}

sp<BpHwBinder> PeerConnection::proxy(uint64_t object, uint32_t known) {
    std::lock_guard<std::mutex> lock(mutex_);
    wp<BpHwBinder>& weak = proxies_[object];
    sp<BpHwBinder> proxy = weak.promote();
    if (proxy == nullptr) {
        proxy = new BpHwBinder(shared_from_this(), object);
        weak = proxy;
    }
    proxy->addKnown(known);
    return proxy;
}

sp<BpHwBinder> PeerConnection::registeredProxy(uint64_t object) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto entry = proxies_.find(object);
        sp<BpHwBinder> found = entry != proxies_.end() ? entry->second.promote() : nullptr;
        if (found != nullptr) return found;
    }
    const status_t status = sendControlWaiting(messageHeader(kAcquire, 0, object));
    if (status == OK) return proxy(object, 1);
    // Calls to this proxy return the reason.
    return reasonOfEnd() != DEAD_OBJECT ? proxy(object, 0) : nullptr;
}

void PeerConnection::forgetProxy(uint64_t object, const BpHwBinder* proxy, uint32_t known) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = proxies_.find(object);
        if (found != proxies_.end() && found->second.unsafe_get() == proxy) proxies_.erase(found);
    }
    if (dead() || known == 0) return;
    bool tooMany = false;
    {
        std::lock_guard<std::mutex> lock(controlMutex_);
        const std::shared_ptr<Channel> channel = control();
        if (channel == nullptr) return;
        pendingReleases_[object] += known;
        if (flushReleases(*channel) == WOULD_BLOCK) sendReleasesWhenWritable(*channel);
        tooMany = pendingReleases_.size() > kMaxPendingReleases;
    }
    if (tooMany) kill();
}

void PeerConnection::sendReleasesWhenWritable(const Channel& control) {
    if (awaitsWritable_) return;
    base::unique_fd own(fcntl(control.fd(), F_DUPFD_CLOEXEC, 0));
    if (own < 0) return;  // the releases are sent with a later message
    awaitsWritable_ = true;
    Process::self().pool().add(std::make_shared<ReleaseSource>(shared_from_this(), std::move(own)));
}

bool PeerConnection::sendWaitingReleases() {
    std::lock_guard<std::mutex> lock(controlMutex_);
    const std::shared_ptr<Channel> channel = control();
    awaitsWritable_ = channel != nullptr && flushReleases(*channel) == WOULD_BLOCK;
    return !awaitsWritable_;
}

PeerConnection::Export* PeerConnection::exportWithLock(uint64_t object) {
    auto found = exports_.find(object);
    if (found != exports_.end()) return &found->second;
    sp<BHwBinder> registered = ended_ ? nullptr : Process::self().registered(object);
    if (registered == nullptr) return nullptr;
    unreferenced_.insert(object);
    return &exports_.insert({object, {registered, 0}}).first->second;
}

sp<BHwBinder> PeerConnection::target(uint64_t object) {
    std::lock_guard<std::mutex> lock(mutex_);
    const Export* found = exportWithLock(object);
    return found != nullptr ? found->binder : nullptr;
}

void PeerConnection::acquire(uint64_t object) {
    std::lock_guard<std::mutex> lock(mutex_);
    Export* found = exportWithLock(object);
    if (found != nullptr) ++found->count;
}

bool PeerConnection::release(uint64_t object, uint32_t count) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = exports_.find(object);
    if (found == exports_.end() || found->second.count == 0)
        return count > 0;  // never acquired, because its registration was removed in the meantime
    if (count == 0 || count > found->second.count) return false;
    found->second.count -= count;
    if (found->second.count == 0) unreferenced_.insert(object);
    return true;
}

void PeerConnection::dropUnreferenced() {
    std::vector<sp<BHwBinder>> dropped;  // destroyed after the mutex is released
    std::lock_guard<std::mutex> lock(mutex_);
    if (unreferenced_.empty() || control_ == nullptr) return;
    // In this order: a thread counts its message before it takes that from the socket.
    if (!isEmpty(control_->fd()) || controlMessages_ > 0) return;
    for (const uint64_t object : unreferenced_) {
        auto found = exports_.find(object);
        if (found == exports_.end() || found->second.count > 0) continue;
        dropped.push_back(std::move(found->second.binder));
        exports_.erase(found);
    }
    unreferenced_.clear();
}

status_t PeerConnection::reference(const std::vector<sp<IBinder>>& objects,
                                   std::vector<ObjectReference>* references) {
    for (const sp<IBinder>& binder : objects) {
        BpHwBinder* remote = binder->remoteBinder();
        if (remote != nullptr && remote->link().get() != this) {
            ALOGE("an object of process %d can't be passed on to process %d", remote->link()->peerPid,
                  peerPid);
            releaseReferences(*references);
            references->clear();
            return INVALID_OPERATION;
        }
        if (remote != nullptr) {
            references->push_back({remote->object(), kReceiversObject, 0});
            continue;
        }
        if (!exportOnce(binder->localBinder())) {
            references->clear();  // end() has released the others
            return DEAD_OBJECT;
        }
        references->push_back({binder->localBinder()->exportId(), kSendersObject, 0});
    }
    return OK;
}

bool PeerConnection::exportOnce(BHwBinder* object) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (ended_) return false;
    Export& entry = exports_[object->exportId()];
    entry.binder = object;
    ++entry.count;
    return true;
}

void PeerConnection::releaseReferences(const std::vector<ObjectReference>& references) {
    for (const ObjectReference& reference : references) {
        if (reference.owner == kSendersObject) release(reference.object, 1);
    }
    dropUnreferenced();
}

bool PeerConnection::resolve(IncomingMessage* message) {
    const uint32_t room = message->header.room;
    SpaceShare* share = room > 0 ? share_.load() : nullptr;
    if (share != nullptr) {
        const bool oneway = (message->header.flags & kOneway) != 0;
        share->take(room, oneway);
        message->room = Room(share, {room, oneway});
    }
    if (message->attachments == nullptr) return true;
    Attachments& attachments = *message->attachments;
    for (const ObjectReference& reference : attachments.references) {
        if (reference.reserved != 0) return false;
        if (reference.owner == kSendersObject) {
            attachments.objects.push_back(proxy(reference.object, 1));
        } else {
            sp<BHwBinder> own = reference.owner == kReceiversObject ? target(reference.object) : nullptr;
            if (own == nullptr) return false;
            attachments.objects.push_back(own);
        }
    }
    return true;
}

}  // namespace android::hardware::transport
