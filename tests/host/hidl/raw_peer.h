// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hwbinder/Parcel.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <transport/wire.h>

#include <optional>

#include "fixture.h"
#include "host/hidl/src/registry/registry.h"
#include "host/hidl/src/registry/registry_sockets.h"
#include "send_raw.h"

namespace hidlaudio::test {

using namespace android::hardware::transport;  // NOLINT: names of the wire format
using android::hardware::Parcel;

/** Numbers of the probe's methods that tests call without a proxy. */
enum ProbeMethod : uint32_t {
    kAdd = 1,
    kMark,
    kSetCallback,
    kGetCallback,
    kEchoBytes,
    kEchoText,
    kEchoTexts,
    kPassCallbacks,
    kReadFiles,
    kNote,
    kWait = 15,
    kAnswerThenWait = 16,
    kCallBack = 18,
    kCallBackFromThread = 19,
};

/** A message of a peer. The header is sent as it is, even if it does not match the rest. */
struct RawMessage {
    MessageHeader header{};
    std::vector<uint8_t> body;
    std::vector<int> fds;
};

inline RawMessage rawMessage(MessageType type, uint64_t target = 0, uint32_t code = 0) {
    return {messageHeader(type, code, target), {}, {}};
}

/** Returns the message with descriptors. */
inline RawMessage withFds(RawMessage message, std::vector<int> fds) {
    message.header.fdCount = static_cast<uint16_t>(fds.size());
    message.fds = std::move(fds);
    return message;
}

/** Returns the call of `method` that is written in `body`. */
inline RawMessage rawCall(uint64_t object, uint32_t method, const OutgoingBody& body) {
    RawMessage message = withFds(rawMessage(kCall, object, method), body.fds);
    message.body.assign(body.body(), body.body() + body.bodySize);
    message.header.bodySize = static_cast<uint32_t>(body.bodySize);
    return message;
}

/** Writes the arguments of a call. */
using Write = std::function<void(Parcel&)>;

/** Returns a well-formed call of `method`. */
inline RawMessage rawCall(uint64_t object, uint32_t method, const Write& write = [](auto&) {}) {
    Parcel parcel;
    parcel.writeInterfaceToken(ParentProbe::descriptor);
    write(parcel);
    return rawCall(object, method, parcel.outgoing());
}

/** Writes a vector or string with `content` whose structure claims `size` elements. */
inline Write sequence(uint32_t size, const std::string& content, uint32_t parentOffset = 0) {
    return [=](Parcel& parcel) {
        const uint32_t structure[4] = {0, 0, size, 1};
        size_t handle = 0;
        parcel.writeBuffer(structure, sizeof(structure), &handle);
        parcel.writeEmbeddedBuffer(content.data(), content.size(), &handle, handle, parentOffset);
    };
}

inline void addReference(RawMessage* message, uint64_t object, uint32_t owner, uint32_t reserved = 0) {
    const ObjectReference reference{object, owner, reserved};
    const auto* bytes = reinterpret_cast<const uint8_t*>(&reference);
    message->body.insert(message->body.end(), bytes, bytes + sizeof(reference));
    ++message->header.objectCount;
}

/** Returns a call that sets the object 1 of the peer as the callback. */
inline RawMessage rawSetCallback(uint64_t object) {
    RawMessage call = rawCall(object, kSetCallback, [](Parcel& parcel) { parcel.writeUint32(0); });
    addReference(&call, 1, kSendersObject);
    return call;
}

inline bool sendRaw(int socket, const RawMessage& message) {
    std::vector<uint8_t> packet(kHeaderSize);
    memcpy(packet.data(), &message.header, kHeaderSize);
    packet.insert(packet.end(), message.body.begin(), message.body.end());
    return sendRaw(socket, packet.data(), packet.size(), message.fds);
}

/**
 * Receives the next packet. Returns `std::nullopt` if the peer has closed the socket or on a time-out.
 *
 * @param fds receives the descriptors of the packet; if null, they are discarded
 */
inline std::optional<RawMessage> receiveRaw(int socket, std::vector<unique_fd>* fds = nullptr) {
    std::vector<uint8_t> packet(kMaxPacket);
    iovec part{packet.data(), packet.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(16 * sizeof(int))];
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = fds != nullptr ? sizeof(control) : 0;
    const ssize_t size = recvmsg(socket, &header, MSG_CMSG_CLOEXEC);
    if (size < static_cast<ssize_t>(kHeaderSize)) return std::nullopt;
    const cmsghdr* rights = CMSG_FIRSTHDR(&header);
    for (size_t i = 0; rights != nullptr && CMSG_LEN(i * sizeof(int)) < rights->cmsg_len; ++i) {
        int fd = -1;
        memcpy(&fd, CMSG_DATA(rights) + i * sizeof(int), sizeof(fd));
        fds->emplace_back(fd);
    }
    RawMessage message;
    memcpy(&message.header, packet.data(), kHeaderSize);
    message.body.assign(packet.begin() + kHeaderSize, packet.begin() + size);
    return message;
}

/** Discards what the peer sends. Returns whether the peer closes the socket. */
inline bool closes(int socket) {
    char byte;
    ssize_t size;
    while ((size = recv(socket, &byte, 1, 0)) > 0) {
    }
    return size == 0 || errno == ECONNRESET;
}

/** Receives the next packet after the offer of a lane, which the peer does without. */
inline std::optional<RawMessage> receiveReply(int socket) {
    std::optional<RawMessage> reply = receiveRaw(socket);
    for (const MessageType offer : {kDescriptorsFollow, kLane}) {
        if (reply && reply->header.type == offer) reply = receiveRaw(socket);
    }
    return reply;
}

/** Receives the reply to a call and returns the transport's status in it. */
inline status_t statusOfReply(int socket) {
    const std::optional<RawMessage> reply = receiveReply(socket);
    EXPECT_TRUE(reply && reply->header.type == kReply);
    return reply ? static_cast<status_t>(reply->header.code) : INT32_MIN;
}

/** Receives the reply to mark() and returns its result. */
inline uint32_t positionOfReply(int socket) {
    const std::optional<RawMessage> reply = receiveReply(socket);
    uint32_t words[2] = {1, UINT32_MAX};  // callee's status, result
    if (reply && reply->body.size() >= sizeof(words)) memcpy(words, reply->body.data(), sizeof(words));
    EXPECT_EQ(words[0], 0u);
    return words[1];
}

/** Creates sealed memory. With the default seals, a peer may share it. */
inline unique_fd sealedMemory(size_t size, int seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) {
    unique_fd memory(memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    EXPECT_EQ(ftruncate(memory.get(), static_cast<off_t>(size)), 0);
    EXPECT_EQ(fcntl(memory.get(), F_ADD_SEALS, seals), 0);
    return memory;
}

/** A client that builds the packets of the transport itself. */
class RawPeer {
  public:
    /** Connects to the service registered as `instance` and sends nothing. */
    explicit RawPeer(const std::string& instance = "default") {
        RegistryEntry entry;
        EXPECT_TRUE(registryFind(ParentProbe::descriptor, instance, &entry));
        object_ = entry.object;
        control_ = registryConnect(entry.pid, entry.process);
        limitWaiting(control_.get());
    }

    int control() const { return control_.get(); }
    /** Returns the number of the service's object. */
    uint64_t object() const { return object_; }

    void hello() { EXPECT_TRUE(sendRaw(control(), rawMessage(kHello, 0x1234567890abcdef, kWireVersion))); }
    /** Opens a call channel. Returns its near end, which this object owns. */
    int openChannel() {
        EXPECT_TRUE(offerChannel());
        return channels_.back().get();
    }

    /** Sends a new call channel. Returns false if the service has closed the connection. */
    bool offerChannel() {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
        const unique_fd far(ends[1]);
        channels_.emplace_back(ends[0]);
        limitWaiting(ends[0]);
        return sendRaw(control(), withFds(rawMessage(kNewCallChannel), {far.get()}));
    }

  private:
    static void limitWaiting(int socket) {
        const timeval patience{20, 0};
        EXPECT_EQ(setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience)), 0);
    }

    unique_fd control_;
    uint64_t object_ = 0;
    std::vector<unique_fd> channels_;
};

/** A peer with a call channel. */
struct RawClient : RawPeer {
    explicit RawClient(const std::string& instance = "default") : RawPeer(instance) {
        hello();
        channel = openChannel();
    }
    int channel;
};

/** Fixture of hostile peers: the client `probe_` of the same service must not be affected. */
class HostileTest : public ServedTest {
  protected:
    HostileTest() {
        makeBusy(probe_);
        descriptors_ = service_.descriptors();
    }
    /** Expects that `probe_` is served within 2 s and that the peers leave only `more` descriptors open. */
    void expectUnharmed(size_t more = 0) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(probe_->add(1, 2), 3);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
        EXPECT_TRUE(becomesTrue([=] { return service_.descriptors() == descriptors_ + more; }))
            << service_.descriptors() << " descriptors, not " << descriptors_ + more;
    }

    size_t descriptors_;
};

}  // namespace hidlaudio::test
