// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <transport/message.h>
#include <utils/Errors.h>

#include <memory>
#include <vector>

#include "bulk.h"
#include "lane.h"

namespace android::hardware::transport {

/**
 * One socket of a link, with the shared memory of both directions. One thread at a time uses a call
 * channel. On a control channel, one thread may send while a pool thread receives.
 */
class Channel {
  public:
    enum class Kind { Control, Call };
    enum class Received { Message, Nothing, Closed, Malformed };

    Channel(base::unique_fd socket, Kind kind) : socket_(std::move(socket)), kind_(kind) {}

    int fd() const { return socket_.get(); }

    /** Shuts the socket down for both sides. The destructor closes the descriptor. Any thread. */
    void shutdown();

    /**
     * Sends `header` with `body`. Never blocks.
     *
     * @param references the objects of `body`, from PeerConnection::reference()
     * @return OK; FAILED_TRANSACTION if the message is too large, the kernel lacks memory or calls in
     *         flight take the shared memory; NO_MEMORY or a negative errno if the shared memory cannot
     *         be created; WOULD_BLOCK if the socket is full; DEAD_OBJECT if the peer has closed it
     */
    status_t send(MessageHeader header, OutgoingBody& body, const std::vector<ObjectReference>& references);

    /** Sends a message without a body. Never blocks. */
    status_t send(MessageHeader header, const std::vector<int>& fds = {});

    /**
     * Receives the next message. Checks its layout but does not resolve its references.
     *
     * @param wait whether to block until a message arrives
     */
    Received receive(IncomingMessage* message, bool wait);

    /** Offers a lane to the caller, which waits for its answer. No effect if no lane is left. */
    void offerLane();
    /** Uses the lane that the peer offers, if it can. Returns false if the message is malformed. */
    bool adoptLane(IncomingMessage* message);
    /** Returns the descriptor that becomes readable when a call is in the lane, or -1. */
    int bell() const { return lane_ != nullptr ? lane_->bell() : -1; }
    /** Returns a caller's lane, or null. */
    Lane* callersLane() const {
        return lane_ != nullptr && lane_->side() == Lane::Side::Calls ? lane_.get() : nullptr;
    }

    /** Waits until the socket accepts a packet. Returns false if the peer has closed it. Any thread. */
    bool waitWritable();
    /** Returns whether the peer has closed the channel, or does so within `milliseconds`. Any thread. */
    bool closesWithin(int milliseconds) const;
    /** Reads the header of the next message, which stays queued. Returns false if none. Any thread. */
    bool peek(MessageHeader* header) const;

    /** Objects of the peer to which a reply refers; kept until the peer's next packet. */
    std::vector<sp<IBinder>> heldUntilNext;

  private:
    void stamp(MessageHeader* header);
    status_t sent(status_t status);
    status_t transmitted(ssize_t sent);
    bool passes(uint8_t type) const;
    status_t sendPlain(const void* data, size_t size, uint8_t type);
    status_t sendPacket(const void* data, size_t size, const std::vector<int>& fds);
    status_t sendWithBody(MessageHeader header, OutgoingBody& body,
                          const std::vector<ObjectReference>& references);
    status_t sendBody(MessageHeader header, OutgoingBody& body,
                      const std::vector<ObjectReference>& references, std::vector<int>& fds);
    status_t fillBulk(MessageHeader* header, const OutgoingBody& body, size_t skip, std::vector<int>* fds);
    ssize_t receivePacket(IncomingMessage* message, bool wait);
    ssize_t receiveFromSocket(IncomingMessage* message, bool wait);
    bool check(IncomingMessage* message, size_t packetSize);
    bool attachMemory(IncomingMessage* message);
    bool attachBulk(IncomingMessage* message);

    const base::unique_fd socket_;
    const Kind kind_;
    bool descriptorsFollow_ = false;  // the peer has announced descriptors
    bool announced_ = false;          // this side has announced descriptors and not yet sent them
    bool peerBulkLost_ = false;       // the peer's shared memory could not be received or mapped
    bool reportsBulkLost_ = false;    // the next message must report that loss
    std::unique_ptr<Lane> lane_;
    bool laneUsed_ = false;  // the peer is known to use the lane
    int openCalls_ = 0;      // sent on this channel and not yet answered
    BulkSender bulkSender_;
    std::shared_ptr<BulkMapping> peerBulk_;
};

}  // namespace android::hardware::transport
