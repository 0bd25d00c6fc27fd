// SPDX-License-Identifier: Apache-2.0
#include "raw_peer.h"

#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <sstream>

#include "host/hidl/src/registry.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {

using namespace android::hardware::transport;  // NOLINT: the wire's names are what this file is about

namespace {

constexpr timeval kPatience{20, 0};

void limitWaiting(int socket) {
    EXPECT_EQ(setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof(kPatience)), 0);
}

}  // namespace

RawMessage rawMessage(MessageType type, uint64_t target, uint32_t code) {
    RawMessage message;
    message.header.type = type;
    message.header.target = target;
    message.header.code = code;
    return message;
}

RawMessage rawCall(uint64_t object, uint32_t method,
                   const std::function<void(android::hardware::Parcel&)>& write) {
    android::hardware::Parcel parcel;
    parcel.writeInterfaceToken(ParentProbe::descriptor);
    write(parcel);
    RawMessage message = rawMessage(kCall, object, method);
    message.body.assign(parcel.outgoing().body(), parcel.outgoing().body() + parcel.outgoing().bodySize);
    message.header.bodySize = static_cast<uint32_t>(message.body.size());
    message.fds = parcel.outgoing().fds;
    message.header.fdCount = static_cast<uint16_t>(message.fds.size());
    return message;
}

void addReference(RawMessage* message, uint64_t object, uint32_t owner, uint32_t reserved) {
    const ObjectReference reference{object, owner, reserved};
    const auto* bytes = reinterpret_cast<const uint8_t*>(&reference);
    message->body.insert(message->body.end(), bytes, bytes + sizeof(reference));
    ++message->header.objectCount;
}

RawPeer::RawPeer(const std::string& instance) {
    RegistryEntry entry;
    EXPECT_TRUE(registryFind(ParentProbe::descriptor, instance, &entry));
    mObject = entry.object;
    mControl = registryConnect(entry.socket);
    EXPECT_GE(mControl.get(), 0);
    limitWaiting(control());
}

void RawPeer::hello(uint32_t version) {
    EXPECT_TRUE(sendRaw(control(), rawMessage(kHello, 0x1234567890abcdef, version)));
}

int RawPeer::openChannel() {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const unique_fd far(ends[1]);
    mChannels.emplace_back(ends[0]);
    limitWaiting(ends[0]);
    RawMessage message = rawMessage(kNewCallChannel);
    message.header.fdCount = 1;
    message.fds = {far.get()};
    EXPECT_TRUE(sendRaw(control(), message));
    return ends[0];
}

bool sendRaw(int socket, const void* data, size_t size, const std::vector<int>& fds) {
    iovec part{const_cast<void*>(data), size};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    const size_t fdBytes = fds.size() * sizeof(int);
    std::vector<char> control(CMSG_SPACE(fdBytes));
    if (!fds.empty()) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr* rights = CMSG_FIRSTHDR(&message);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(fdBytes);
        memcpy(CMSG_DATA(rights), fds.data(), fdBytes);
    }
    return sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT) == static_cast<ssize_t>(size);
}

bool sendRaw(int socket, const RawMessage& message) {
    std::vector<uint8_t> packet(kHeaderSize);
    memcpy(packet.data(), &message.header, kHeaderSize);
    packet.insert(packet.end(), message.body.begin(), message.body.end());
    return sendRaw(socket, packet.data(), packet.size(), message.fds);
}

std::optional<RawMessage> receiveRaw(int socket) {
    std::vector<uint8_t> packet(kMaxPacket);
    const ssize_t size = recv(socket, packet.data(), packet.size(), 0);
    if (size < static_cast<ssize_t>(kHeaderSize)) return std::nullopt;
    RawMessage message;
    memcpy(&message.header, packet.data(), kHeaderSize);
    message.body.assign(packet.begin() + kHeaderSize, packet.begin() + size);
    return message;
}

bool closes(int socket) {
    char byte;
    ssize_t size;
    while ((size = recv(socket, &byte, 1, 0)) > 0) {
    }
    return size == 0 || errno == ECONNRESET;
}

status_t statusOfReply(int socket) {
    const std::optional<RawMessage> reply = receiveRaw(socket);
    EXPECT_TRUE(reply && reply->header.type == kReply);
    return reply ? static_cast<status_t>(reply->header.code) : INT32_MIN;
}

uint32_t positionOfReply(int socket) {
    const std::optional<RawMessage> reply = receiveRaw(socket);
    uint32_t words[2] = {1, UINT32_MAX};  // the callee's status, the result
    if (reply && reply->header.type == kReply && reply->body.size() >= sizeof(words))
        memcpy(words, reply->body.data(), sizeof(words));
    EXPECT_EQ(words[0], 0u);
    return words[1];
}

}  // namespace hidlaudio::test
