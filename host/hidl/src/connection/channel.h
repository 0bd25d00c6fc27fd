// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <transport/message.h>
#include <utils/Errors.h>

#include <memory>
#include <vector>

#include "bulk.h"

namespace android::hardware::transport {

/**
 * One socket of a link, and the shared memory of its two directions. One thread at
 * a time; only shutdown() is for any thread.
 */
class Channel {
  public:
    enum class Kind { Control, Call };
    enum class Received { Message, Nothing, Closed, Malformed };

    Channel(base::unique_fd socket, Kind kind) : socket_(std::move(socket)), kind_(kind) {}

    int fd() const { return socket_.get(); }

    /** Ends the channel for both sides; the descriptor stays ours until this object goes. */
    void shutdown();

    /**
     * Sends `header` with what was written to `body`. Never waits.
     *
     * @param references the body's objects as the peer knows them
     * @return OK; FAILED_TRANSACTION where the message is too large or its space is
     *         taken by calls in flight; WOULD_BLOCK where the peer does not read;
     *         DEAD_OBJECT where it is gone
     */
    status_t send(MessageHeader header, OutgoingBody& body, const std::vector<ObjectReference>& references);

    /** Sends a message without body. */
    status_t send(MessageHeader header, const std::vector<int>& fds = {});

    /**
     * Takes the next message. Its layout is checked, its references are not yet
     * resolved.
     *
     * @param wait block until there is one
     */
    Received receive(IncomingMessage* message, bool wait);

    /** Waits until the peer reads; false where it is gone. */
    bool waitWritable();
    /** Whether the peer closes the channel within so many milliseconds, or has. Any thread. */
    bool closesWithin(int milliseconds) const;
    /** Reads the next message's header and leaves the message; false if there is none. Any thread. */
    bool peek(MessageHeader* header) const;

    /** Objects of the peer's that travel home in a reply: kept until the peer's next packet. */
    std::vector<sp<IBinder>> heldUntilNext;

  private:
    void stamp(MessageHeader* header);
    status_t sent(status_t status);
    status_t sendPlain(const void* data, size_t size);
    status_t sendPacket(const void* data, size_t size, const std::vector<int>& fds);
    status_t sendBody(MessageHeader header, OutgoingBody& body,
                      const std::vector<ObjectReference>& references, std::vector<int>& fds);
    status_t fillBulk(MessageHeader* header, const OutgoingBody& body, size_t skip, std::vector<int>* fds);
    ssize_t receivePacket(IncomingMessage* message, bool wait);
    bool check(IncomingMessage* message, size_t packetSize);
    bool attachMemory(IncomingMessage* message);
    bool attachBulk(IncomingMessage* message);

    const base::unique_fd socket_;
    const Kind kind_;
    bool descriptorsFollow_ = false;  // the peer has announced some
    bool announced_ = false;          // we have, and the peer still waits for the message
    bool peerBulkLost_ = false;       // there was no address space or descriptor for it
    bool tellBulkLost_ = false;       // and the peer does not know
    BulkSender bulkSender_;
    std::shared_ptr<BulkMapping> peerBulk_;
};

}  // namespace android::hardware::transport
