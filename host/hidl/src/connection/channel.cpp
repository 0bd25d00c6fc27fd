// SPDX-License-Identifier: Apache-2.0
#include "channel.h"

#include <errno.h>
#include <hwbinder/IBinder.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "host/hidl/src/threads/spin.h"
#include "shortage.h"

namespace android::hardware::transport {
namespace {

constexpr int kSendFlags = MSG_NOSIGNAL | MSG_DONTWAIT;

status_t statusOfSend(ssize_t sent) {
    if (sent >= 0) return OK;
    if (errno == EAGAIN || errno == EWOULDBLOCK) return WOULD_BLOCK;
    // The kernel has rejected this message; the peer may be alive.
    if (errno == EMSGSIZE || errno == ETOOMANYREFS || errno == EBADF || errno == ENOBUFS || errno == ENOMEM) {
        return FAILED_TRANSACTION;
    }
    return DEAD_OBJECT;
}

bool isHeaderSane(const MessageHeader& header) {
    const bool bodyKind = header.type == kCall || header.type == kReply;
    return header.type >= kHello && header.type <= kLastMessageType &&
           (header.flags & ~kAllMessageFlags) == 0 && header.objectCount <= kMaxObjects &&
           header.fdCount <= kMaxDescriptors && header.bodySize <= kTransactionLimit &&
           header.room <= kTransactionLimit && header.reserved == 0 &&
           (bodyKind || (header.bodySize == 0 && header.objectCount == 0 && header.bulkSize == 0));
}

size_t referencesSize(const MessageHeader& header) {
    return header.objectCount * sizeof(ObjectReference);
}

}  // namespace

void Channel::shutdown() {
    ::shutdown(socket_.get(), SHUT_RDWR);
}

bool Channel::waitWritable() {
    pollfd poll{socket_.get(), POLLOUT, 0};
    (void)TEMP_FAILURE_RETRY(::poll(&poll, 1, -1));
    return (poll.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
}

bool Channel::closesWithin(int milliseconds) const {
    pollfd poll{socket_.get(), POLLRDHUP, 0};
    return TEMP_FAILURE_RETRY(::poll(&poll, 1, milliseconds)) > 0;
}

bool Channel::peek(MessageHeader* header) const {
    ssize_t size;
    do {
        size = recv(socket_.get(), header, sizeof(*header), MSG_PEEK | MSG_DONTWAIT);
    } while (size < 0 && (errno == EINTR || errno == ECONNRESET));
    return size == sizeof(*header);
}

status_t Channel::transmitted(ssize_t sent) {
    if (sent >= 0 && lane_ != nullptr) lane_->sentOnSocket();
    return statusOfSend(sent);
}

// Returns whether a message of this type may use the lane: the sender sends nothing more until it is
// received. A server inside a nested call waits on the socket alone.
bool Channel::passes(uint8_t type) const {
    if (!laneUsed_) return false;
    return lane_->side() == Lane::Side::Calls ? type == kCall && openCalls_ == 0
                                              : type == kCall || type == kReply;
}

status_t Channel::sendPlain(const void* data, size_t size, uint8_t type) {
    if (passes(type) && lane_->put(data, size)) return sent(OK);
    return sent(transmitted(::send(socket_.get(), data, size, kSendFlags)));
}

status_t Channel::sent(status_t status) {
    if (status == OK) announced_ = reportsBulkLost_ = false;
    return status;
}

status_t Channel::sendPacket(const void* data, size_t size, const std::vector<int>& fds) {
    if (fds.empty()) return sendPlain(data, size, static_cast<const MessageHeader*>(data)->type);
    // If an announced message could not be sent, the announcement still holds for the next one.
    if (kind_ == Kind::Call && !announced_) {
        MessageHeader announcement = messageHeader(kDescriptorsFollow);
        announcement.processor = ownProcessor();
        status_t status = transmitted(::send(socket_.get(), &announcement, sizeof(announcement), kSendFlags));
        if (status != OK) return status;
        announced_ = true;
    }
    alignas(cmsghdr) char control[CMSG_SPACE((kMaxDescriptors + 1) * sizeof(int))] = {};
    iovec part{const_cast<void*>(data), size};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = CMSG_SPACE(fds.size() * sizeof(int));
    cmsghdr* rights = CMSG_FIRSTHDR(&message);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(fds.size() * sizeof(int));
    memcpy(CMSG_DATA(rights), fds.data(), fds.size() * sizeof(int));
    return sent(transmitted(sendmsg(socket_.get(), &message, kSendFlags)));
}

// Sets the header fields that all messages carry.
void Channel::stamp(MessageHeader* header) {
    header->processor = ownProcessor();
    if (reportsBulkLost_) header->flags |= kBulkMemoryLost;
}

status_t Channel::send(MessageHeader header, const std::vector<int>& fds) {
    stamp(&header);
    header.fdCount = static_cast<uint16_t>(fds.size());
    return sendPacket(&header, sizeof(header), fds);
}

// Copies the bulk pieces of the message to a block of shared memory, after `skip` bytes that the caller
// fills.
status_t Channel::fillBulk(MessageHeader* header, const OutgoingBody& body, size_t skip,
                           std::vector<int>* fds) {
    size_t block = 0;
    const size_t size = skip + body.bulkSize;
    const status_t status = bulkSender_.allocate(size, &block);
    if (status != OK) return status;
    uint8_t* data = bulkSender_.blockData(block);
    for (size_t i = 0; i < body.bulkCount; ++i) body.bulk[i].copyTo(data + skip);
    header->bulkOffset = static_cast<uint32_t>(block);
    header->bulkSize = static_cast<uint32_t>(size);
    if (bulkSender_.undelivered() >= 0) {
        header->flags |= kNewBulkMemory;
        fds->insert(fds->begin(), bulkSender_.undelivered());
    }
    return OK;
}

status_t Channel::send(MessageHeader header, OutgoingBody& body,
                       const std::vector<ObjectReference>& references) {
    const status_t status = sendWithBody(header, body, references);
    if (status == OK && kind_ == Kind::Call && header.type == kCall) ++openCalls_;
    return status;
}

status_t Channel::sendWithBody(MessageHeader header, OutgoingBody& body,
                               const std::vector<ObjectReference>& references) {
    stamp(&header);
    header.bodySize = static_cast<uint32_t>(body.bodySize);
    if (body.buffer.capacity() == 0) body.buffer = PacketBuffer::ofSize(kMaxPacket);
    const size_t packetSize = kHeaderSize + body.bodySize;
    if (references.empty() && body.fds.empty() && body.bulkSize == 0 && packetSize <= kMaxPacket) {
        memcpy(body.buffer.data(), &header, sizeof(header));
        return sendPlain(body.buffer.data(), packetSize, header.type);
    }
    std::vector<int> fds = body.fds;
    header.objectCount = static_cast<uint16_t>(references.size());
    header.fdCount = static_cast<uint16_t>(fds.size());
    return sendBody(header, body, references, fds);
}

status_t Channel::sendBody(MessageHeader header, OutgoingBody& body,
                           const std::vector<ObjectReference>& references, std::vector<int>& fds) {
    const size_t referenceBytes = references.size() * sizeof(ObjectReference);
    const bool bodyInBulk = kHeaderSize + body.bodySize + referenceBytes > kMaxPacket;
    const bool usesBulk = bodyInBulk || body.bulkSize > 0;
    if (usesBulk) {
        const size_t skip = bodyInBulk ? alignUp(body.bodySize + referenceBytes, kBulkAlignment) : 0;
        const status_t status = fillBulk(&header, body, skip, &fds);
        if (status != OK) return status;
    }
    uint8_t* tail = body.buffer.data() + kHeaderSize + body.bodySize;
    size_t packetSize = kHeaderSize + body.bodySize + referenceBytes;
    if (bodyInBulk) {
        header.flags |= kBodyInBulk;
        uint8_t* block = bulkSender_.blockData(header.bulkOffset);
        memcpy(block, body.buffer.data() + kHeaderSize, body.bodySize);
        tail = block + body.bodySize;
        packetSize = kHeaderSize;
    }
    if (referenceBytes > 0) memcpy(tail, references.data(), referenceBytes);
    memcpy(body.buffer.data(), &header, sizeof(header));
    const status_t status = sendPacket(body.buffer.data(), packetSize, fds);
    if (usesBulk) bulkSender_.sent(header.bulkOffset, status == OK);
    return status;
}

void Channel::offerLane() {
    std::unique_ptr<Lane> lane = Lane::create();
    if (lane == nullptr) return;
    if (send(messageHeader(kLane), lane->descriptors()) != OK) return;
    lane->delivered();
    lane_ = std::move(lane);
}

bool Channel::adoptLane(IncomingMessage* message) {
    if (message->incomplete) return true;
    if (lane_ != nullptr || message->attachments == nullptr || !Lane::isSane(message->attachments->fds))
        return false;
    lane_ = Lane::adopt(message->attachments->fds);
    laneUsed_ = lane_ != nullptr;
    return true;
}

// Receives from the lane or the socket, in the order in which the peer has sent.
ssize_t Channel::receivePacket(IncomingMessage* message, bool wait) {
    if (lane_ == nullptr) return receiveFromSocket(message, wait);
    const bool full = lane_->full();
    if (full && !lane_->socketFirst()) {
        laneUsed_ = true;
        descriptorsFollow_ = false;
        const std::optional<size_t> size = lane_->take(message->buffer.data());
        return static_cast<ssize_t>(size.value_or(kMaxPacket + 1));
    }
    const ssize_t size = receiveFromSocket(message, wait && !full);
    if (size >= 0) lane_->receivedOnSocket();
    const bool nothing = size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    // If the packet in the slot comes after one that was not sent, an impossible size makes it malformed.
    return full && nothing ? static_cast<ssize_t>(kMaxPacket + 1) : size;
}

ssize_t Channel::receiveFromSocket(IncomingMessage* message, bool wait) {
    const int flags = MSG_TRUNC | (wait ? 0 : MSG_DONTWAIT);
    uint8_t* data = message->buffer.data();
    if (kind_ == Kind::Call && !descriptorsFollow_) return recv(socket_.get(), data, kMaxPacket, flags);

    alignas(cmsghdr) char control[CMSG_SPACE((kMaxDescriptors + 1) * sizeof(int))];
    iovec part{data, kMaxPacket};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof(control);
    const ssize_t size = recvmsg(socket_.get(), &header, flags | MSG_CMSG_CLOEXEC);
    if (size < 0) return size;
    descriptorsFollow_ = false;
    for (cmsghdr* c = CMSG_FIRSTHDR(&header); c != nullptr; c = CMSG_NXTHDR(&header, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS) continue;
        const size_t count = (c->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int fd = -1;
            memcpy(&fd, CMSG_DATA(c) + i * sizeof(int), sizeof(fd));
            message->attach().fds.emplace_back(fd);
        }
    }
    if ((header.msg_flags & MSG_CTRUNC) == 0) return size;
    // Descriptors are lost. If the peer sent too many, an impossible size makes the message malformed.
    // Otherwise this process has reached its limit of descriptors.
    if (message->fdCount() > kMaxDescriptors) return static_cast<ssize_t>(kMaxPacket + 1);
    noteShortage("descriptors that came with a message are lost", EMFILE);
    message->incomplete = true;
    return size;
}

Channel::Received Channel::receive(IncomingMessage* message, bool wait) {
    if (message->buffer.capacity() != kMaxPacket) message->buffer = PacketBuffer::ofSize(kMaxPacket);
    message->incomplete = false;
    bool announced = descriptorsFollow_;
    for (;;) {
        const ssize_t size = receivePacket(message, wait);
        // ECONNRESET: the peer closed the channel with messages unread. Its own messages still arrive.
        if (size < 0 && (errno == EINTR || errno == ECONNRESET)) continue;
        if (size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return Received::Nothing;
        if (size <= 0) return Received::Closed;
        if (!check(message, static_cast<size_t>(size))) return Received::Malformed;
        if (message->header.type == kReplyRead) {
            // At most one per reply: otherwise a peer could keep this loop busy.
            if (heldUntilNext.empty()) return Received::Malformed;
            heldUntilNext.clear();
            continue;
        }
        heldUntilNext.clear();
        if (message->header.type == kReply && openCalls_ > 0) --openCalls_;
        if (message->header.type != kDescriptorsFollow) return Received::Message;
        // At most one announcement per message: otherwise a peer could keep this loop busy.
        if (announced || kind_ != Kind::Call) return Received::Malformed;
        announced = true;
        descriptorsFollow_ = true;
        message->attachments.reset();
    }
}

bool Channel::attachMemory(IncomingMessage* message) {
    if ((message->header.flags & kNewBulkMemory) == 0) return true;
    if (peerBulk_ != nullptr) return false;
    if (message->fdCount() > 0) {
        std::vector<base::unique_fd>& fds = message->attachments->fds;
        if (!BulkMapping::isSane(fds.front())) return false;
        peerBulk_ = BulkMapping::ofPeer(fds.front());
        if (peerBulk_ == nullptr) noteShortage("a peer's shared memory can't be mapped", errno);
        fds.erase(fds.begin());
    } else if (!message->incomplete) {
        return false;
    }
    peerBulkLost_ = peerBulk_ == nullptr;
    // On a control channel other threads may be sending, and the link ends: the peer is not notified.
    if (kind_ == Kind::Call) reportsBulkLost_ = peerBulkLost_;
    return true;
}

// Locates the body and the references of the message, in the packet or copied from shared memory, and
// the plain data in shared memory.
bool Channel::attachBulk(IncomingMessage* message) {
    const MessageHeader& header = message->header;
    const bool bodyInBulk = (header.flags & kBodyInBulk) != 0;
    message->body = message->buffer.data() + kHeaderSize;
    message->bodySize = header.bodySize;
    if (header.bulkSize == 0) return !bodyInBulk;
    if (peerBulk_ == nullptr && peerBulkLost_) {
        message->incomplete = true;
        if (bodyInBulk) message->body = nullptr;
        return true;
    }
    if (peerBulk_ == nullptr || !BulkMapping::holds(header.bulkOffset, header.bulkSize)) return false;

    size_t skip = 0;
    if (bodyInBulk) {
        const size_t copied = header.bodySize + referencesSize(header);
        skip = alignUp(copied, kBulkAlignment);
        if (skip > header.bulkSize) return false;
        message->buffer = PacketBuffer::ofSize(kHeaderSize + copied);
        message->body = message->buffer.data() + kHeaderSize;
        memcpy(message->buffer.data() + kHeaderSize, peerBulk_->blockData(header.bulkOffset), copied);
    }
    message->bulk = BulkView(peerBulk_, header.bulkOffset, skip, header.bulkSize - skip);
    return true;
}

bool Channel::check(IncomingMessage* message, size_t packetSize) {
    if (packetSize < kHeaderSize || packetSize > kMaxPacket) return false;
    memcpy(&message->header, message->buffer.data(), kHeaderSize);
    const MessageHeader& header = message->header;
    if (!isHeaderSane(header)) return false;
    noteSender(header.processor);
    if ((header.flags & kBulkMemoryLost) != 0) {
        // A control channel never carries this flag; the sending threads use its bulkSender_.
        if (kind_ != Kind::Call) return false;
        bulkSender_ = BulkSender();
    }
    const bool bodyAlone = header.flags == 0 && header.objectCount == 0 && header.fdCount == 0 &&
                           header.bulkSize == 0 && message->attachments == nullptr;
    if (bodyAlone) {
        message->body = message->buffer.data() + kHeaderSize;
        message->bodySize = header.bodySize;
        return packetSize == kHeaderSize + header.bodySize;
    }
    const size_t inPacket = (header.flags & kBodyInBulk) != 0 ? 0 : header.bodySize + referencesSize(header);
    if (packetSize != kHeaderSize + inPacket || !attachMemory(message)) return false;
    if (!message->incomplete && message->fdCount() != header.fdCount) return false;
    if (!attachBulk(message)) return false;
    if (header.objectCount > 0 && message->body != nullptr) {
        std::vector<ObjectReference>& references = message->attach().references;
        references.resize(header.objectCount);
        memcpy(references.data(), message->body + header.bodySize, referencesSize(header));
    }
    return true;
}

}  // namespace android::hardware::transport
