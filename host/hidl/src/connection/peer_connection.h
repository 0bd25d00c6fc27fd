// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <hwbinder/Binder.h>
#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "channel.h"
#include "receive_space.h"

namespace android::hardware::transport {

/**
 * The link between this process and one other: the objects that each holds of the other, and the
 * channels between them. It ends if the peer ends or violates the wire format, and never recovers.
 * Any thread, except where noted.
 */
class PeerConnection : public std::enable_shared_from_this<PeerConnection> {
  public:
    PeerConnection(base::unique_fd control, pid_t peerPid, uid_t peerUid);
    ~PeerConnection();

    /** Identifies the link in this process; never reused. */
    const uint64_t number;
    const pid_t peerPid;
    const uid_t peerUid;

    bool dead() const { return dead_.load(std::memory_order_acquire); }
    /** Shuts all channels down, which wakes the threads that wait for the peer. The pool then ends the link.
     */
    void kill();
    /**
     * Shuts the control channel down because the peer's process has ended. Messages that the peer
     * has sent on it are still read.
     */
    void hangUp();
    /** Returns DEAD_OBJECT, or the shortage for which the peer ended the link, as a negative status. */
    status_t reasonOfEnd();
    /** Stores and logs the shortage for which the peer ends the link. */
    void turnAway(uint32_t status);
    /** Releases the objects that the peer holds, and notifies death recipients. Called once. */
    void end();
    /** Returns whether end() was called. */
    bool ended();

    /** Returns the control channel, or null after end(). Only the pool receives from it. */
    std::shared_ptr<Channel> control();

    /** Sends the pending releases, then the message, on the control channel. Results as Channel::send(). */
    status_t sendControl(const MessageHeader& header, const std::vector<int>& fds = {});
    /**
     * Sends a call or reply on `channel`, like Channel::send(). Returns FAILED_TRANSACTION if the peer's
     * receive buffer has no room for it.
     */
    status_t send(Channel& channel, MessageHeader header, OutgoingBody& body,
                  const std::vector<ObjectReference>& references);
    status_t sendOneway(const MessageHeader& header, OutgoingBody& body,
                        const std::vector<ObjectReference>& references);

    /**
     * Gets a channel for a thread's calls. If many threads have one already, it sets `forOneCall`: the thread
     * must release the channel after one call, and may have to wait until another one has done so. Returns
     * DEAD_OBJECT if the peer has ended, or a shortage.
     */
    status_t acquireCallChannel(std::shared_ptr<Channel>* channel, bool* forOneCall);
    /**
     * Handles a call channel that the peer has closed. Waits up to 1 s for the peer to end. Returns
     * DEAD_OBJECT if it has ended, or FAILED_TRANSACTION if only the channel is lost: the next call may
     * get another one.
     */
    status_t lostCallChannel(const Channel& channel);
    /** Makes the channel of a thread that ends, or of one call, available to other threads. */
    void releaseCallChannel(const std::shared_ptr<Channel>& channel);

    /** Adds a channel on which the peer calls this process. Returns false if the link is dead. */
    bool addPeerChannel(const std::shared_ptr<Channel>& channel);
    /** Returns the number of open channels on which the peer calls this process. */
    size_t peerChannels() const;

    /** Announces this process's receive buffer to the peer on `channel`, once. */
    void announceReceiveSpace(Channel& channel);
    /** Maps the receive buffer that the peer announces. Returns false if the message is malformed. */
    bool mapReceiveSpace(IncomingMessage* message);
    bool knowsReceiveSpace() const { return peerSpace_.load() != nullptr; }
    /** Reports refused claims of failed calls to the peer, at most every 50 ms. */
    void reportRefusal();

    /** Returns the proxy of the peer's `object`. @param known references that the peer has counted for it */
    sp<BpHwBinder> proxy(uint64_t object, uint32_t known);
    /** Returns the proxy of an object that the registry names, or null if the peer has ended. */
    sp<BpHwBinder> registeredProxy(uint64_t object);
    /** Called by the destructor of a proxy: releases its references at the peer. */
    void forgetProxy(uint64_t object, const BpHwBinder* proxy, uint32_t known);
    /** Sends pending releases when the peer reads again. Returns false if some are still pending. */
    bool sendWaitingReleases();

    /** Returns this process's object of that number, or null if the peer may not call any such object. */
    sp<BHwBinder> target(uint64_t object);
    /** Count references that the peer takes or releases. release() returns false if it had fewer. */
    void acquire(uint64_t object);
    bool release(uint64_t object, uint32_t count);
    /**
     * Drops this process's objects to which the peer has no reference, if the control channel has no
     * unread message and no thread handles one. A call may have overtaken a kAcquire on that channel: until
     * it is handled, the object must stay, even if its registration was removed.
     */
    void dropUnreferenced();
    /** Enclose the receiving and handling of a message on the control channel, unless that is a call. */
    void beginControlMessage() { ++controlMessages_; }
    void endControlMessage() { --controlMessages_; }

    /**
     * Converts `objects` to references for a message to the peer, and counts those that it will hold.
     * Returns INVALID_OPERATION for an object of a third process, or DEAD_OBJECT if the link has ended.
     */
    status_t reference(const std::vector<sp<IBinder>>& objects, std::vector<ObjectReference>* references);
    /** Undoes reference() for a message that was not sent. */
    void releaseReferences(const std::vector<ObjectReference>& references);
    /**
     * Counts a received message in the receive buffer and resolves its object references. Returns false
     * if a reference is invalid.
     */
    bool resolve(IncomingMessage* message);

  private:
    struct Export {
        sp<BHwBinder> binder;
        uint32_t count = 0;
    };

    /**
     * Returns the entry of one of this process's objects, or null. Adds an entry without references for
     * an object that is registered.
     */
    Export* exportWithLock(uint64_t object) REQUIRES(mutex_);
    /** Counts a reference that the peer will hold. Returns false if the link has ended. */
    bool exportOnce(BHwBinder* object);
    status_t claimRoom(MessageHeader* header, uint32_t size);
    status_t flushReleases(Channel& control) REQUIRES(controlMutex_);
    /** Sends the pending releases from a pool thread, once `control` is writable. */
    void sendReleasesWhenWritable(const Channel& control) REQUIRES(controlMutex_);
    /** Like sendControl(), but waits while the control channel is full. */
    status_t sendControlWaiting(const MessageHeader& header, const std::vector<int>& fds = {});
    status_t makeCallChannel(std::shared_ptr<Channel>* channel);

    std::atomic<bool> dead_{false};
    std::atomic<status_t> reason_{DEAD_OBJECT};
    std::atomic<int> controlMessages_{0};      // received or about to be, and not handled
    std::atomic<SpaceShare*> share_{nullptr};  // of this process's receive buffer
    std::atomic<PeerSpace*> peerSpace_{nullptr};
    std::mutex controlMutex_;  // held while sending on the control channel
    std::unordered_map<uint64_t, uint32_t> pendingReleases_ GUARDED_BY(controlMutex_);
    bool awaitsWritable_ GUARDED_BY(controlMutex_) = false;

    // The last channels serve the calls of all threads that came later. In total there are fewer than the
    // peer admits, because it may notice late that a channel was closed.
    static constexpr size_t kMaxCallChannels = 240;
    static constexpr size_t kMaxOwnChannels = kMaxCallChannels - 16;
    // A peer with more pending releases than this is considered dead.
    static constexpr size_t kMaxPendingReleases = 64 * kMaxObjects;

    mutable std::mutex mutex_;
    bool ended_ GUARDED_BY(mutex_) = false;
    std::shared_ptr<Channel> control_ GUARDED_BY(mutex_);
    std::unordered_map<uint64_t, Export> exports_ GUARDED_BY(mutex_);
    std::unordered_set<uint64_t> unreferenced_ GUARDED_BY(mutex_);  // may have no references in exports_
    std::unordered_map<uint64_t, wp<BpHwBinder>> proxies_ GUARDED_BY(mutex_);
    std::vector<std::shared_ptr<Channel>> callChannels_ GUARDED_BY(mutex_);
    size_t openingChannels_ GUARDED_BY(mutex_) = 0;  // will be in callChannels_
    std::condition_variable_any channelIdle_;
    // Channels of callChannels_ that no thread uses.
    std::vector<std::shared_ptr<Channel>> idleChannels_ GUARDED_BY(mutex_);
    std::vector<std::weak_ptr<Channel>> peerChannels_ GUARDED_BY(mutex_);
};

}  // namespace android::hardware::transport
