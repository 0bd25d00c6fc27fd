// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <hwbinder/Binder.h>
#include <sys/types.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "channel.h"
#include "receive_space.h"

namespace android::hardware::transport {

/**
 * This process and one other: the objects that each holds of the other, and the
 * channels between them. It dies with the first sign that the peer is gone or does
 * not keep to the format, and never comes back. Any thread, unless told otherwise.
 */
class PeerConnection : public std::enable_shared_from_this<PeerConnection> {
  public:
    PeerConnection(base::unique_fd control, pid_t peerPid, uid_t peerUid);
    ~PeerConnection();

    /** Tells this process's links apart; never used again. */
    const uint64_t number;
    const pid_t peerPid;
    const uid_t peerUid;

    bool dead() const { return dead_.load(std::memory_order_acquire); }
    /** Wakes everything that waits for the peer; the pool then ends the link. */
    void kill();
    /**
     * The peer's process has ended. Closes the control channel; what the peer has sent on it
     * is still read.
     */
    void hangUp();
    /** DEAD_OBJECT, or the shortage for which the peer ended this connection. */
    status_t reasonOfEnd();
    /** The peer ends this connection for that reason. */
    void turnAway(uint32_t status);
    /** For the pool, once: gives the peer's objects up and tells who asked to be told. */
    void end();
    bool ended();

    /** The control channel, null once the link has ended. Only the pool receives from it. */
    std::shared_ptr<Channel> control();

    /** Sends on the control channel, after the releases that wait; WOULD_BLOCK as Channel. */
    status_t sendControl(const MessageHeader& header, const std::vector<int>& fds = {});
    /**
     * Sends a call or reply on `channel`, as Channel does, if the peer's receive buffer has
     * room for it; otherwise FAILED_TRANSACTION.
     */
    status_t send(Channel& channel, MessageHeader header, OutgoingBody& body,
                  const std::vector<ObjectReference>& references);
    status_t sendOneway(const MessageHeader& header, OutgoingBody& body,
                        const std::vector<ObjectReference>& references);

    /** A channel for a thread to call the peer on; DEAD_OBJECT if the peer is gone, or a shortage. */
    status_t takeCallChannel(std::shared_ptr<Channel>* channel);
    /**
     * The peer has closed that call channel. DEAD_OBJECT if it is gone; FAILED_TRANSACTION if the
     * channel alone is lost: the next call may get another.
     */
    status_t lostCallChannel(const Channel& channel);
    void giveBackCallChannel(const std::shared_ptr<Channel>& channel);

    /** A channel on which the peer calls us; false where the link is dead. */
    bool addPeerChannel(const std::shared_ptr<Channel>& channel);
    /** How many of those there are. */
    size_t peerChannels() const;

    /** Tells the peer of this process's receive buffer, on `channel`, once. */
    void giveReceiveSpace(Channel& channel);
    /** Maps the receive buffer that the peer announces. Returns false if the message is malformed. */
    bool takeReceiveSpace(IncomingMessage* message);
    bool knowsReceiveSpace() const { return peerSpace_.load() != nullptr; }
    /** A call failed: tells the peer if that was for lack of room. */
    void reportRefusal();

    /** The peer's object `object`. @param known references that the peer counts for it */
    sp<BpHwBinder> proxy(uint64_t object, uint32_t known);
    /** The same for an object that the registry names; null where the peer is gone. */
    sp<BpHwBinder> registeredProxy(uint64_t object);
    /** The proxy is gone: gives its references back to the peer. */
    void forgetProxy(uint64_t object, const BpHwBinder* proxy, uint32_t known);
    /** For the pool, when the peer reads again; false where releases still wait. */
    bool sendWaitingReleases();

    /** Our object that the peer may call, null where it holds none of that number. */
    sp<BHwBinder> target(uint64_t object);
    /** The peer took or gave back references to our object. False where it cannot have had them. */
    void acquire(uint64_t object);
    bool release(uint64_t object, uint32_t count);
    /**
     * Gives up our objects to which the peer has no reference, if the control channel is empty. A call
     * may have overtaken a kAcquire on that channel: until it is read, the object must stay, even if
     * it has lost its registration. For the pool, after each control message.
     */
    void dropUnreferenced();

    /**
     * Writes `objects` as the peer knows them and counts what it will hold.
     * INVALID_OPERATION for an object of a third process.
     */
    status_t reference(const std::vector<sp<IBinder>>& objects, std::vector<ObjectReference>* references);
    /** The message with these references was not sent. */
    void takeBack(const std::vector<ObjectReference>& references);
    /**
     * Counts a received message and resolves its object references. Returns false if one of them
     * is unknown.
     */
    bool resolve(IncomingMessage* message);

  private:
    struct Export {
        sp<BHwBinder> binder;
        uint32_t count = 0;
    };

    /** The entry of one of our objects; made without references for one that is registered. */
    Export* exportWithLock(uint64_t object) REQUIRES(mutex_);
    status_t claimRoom(MessageHeader* header, uint32_t size);
    status_t flushReleases(Channel& control) REQUIRES(controlMutex_);
    void awaitRoom(const Channel& control) REQUIRES(controlMutex_);
    bool waitForRoom();
    status_t makeCallChannel(std::shared_ptr<Channel>* channel);

    std::atomic<bool> dead_{false};
    std::atomic<status_t> reason_{DEAD_OBJECT};
    std::atomic<SpaceShare*> share_{nullptr};  // of this process's receive buffer
    std::atomic<PeerSpace*> peerSpace_{nullptr};
    std::mutex controlMutex_;  // sending on the control channel
    std::unordered_map<uint64_t, uint32_t> pendingReleases_ GUARDED_BY(controlMutex_);
    bool awaitsRoom_ GUARDED_BY(controlMutex_) = false;

    // A peer that reads so late does not read.
    static constexpr size_t kMaxPendingReleases = 64 * kMaxObjects;

    mutable std::mutex mutex_;
    bool ended_ GUARDED_BY(mutex_) = false;
    std::shared_ptr<Channel> control_ GUARDED_BY(mutex_);
    std::unordered_map<uint64_t, Export> exports_ GUARDED_BY(mutex_);
    std::unordered_set<uint64_t> unreferenced_ GUARDED_BY(mutex_);  // of exports_, perhaps without references
    std::unordered_map<uint64_t, wp<BpHwBinder>> proxies_ GUARDED_BY(mutex_);
    std::vector<std::shared_ptr<Channel>> callChannels_ GUARDED_BY(mutex_);
    // Of callChannels_, those without a thread.
    std::vector<std::shared_ptr<Channel>> idleChannels_ GUARDED_BY(mutex_);
    std::vector<std::weak_ptr<Channel>> peerChannels_ GUARDED_BY(mutex_);
};

}  // namespace android::hardware::transport
