// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <hwbinder/Parcel.h>
#include <transport/wire.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "fixture.h"

namespace hidlaudio::test {

/** The probe's methods that are called by number. */
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
    kAnswerThenWait = 17,
    kCallBack = 19,
};

/** A message as a peer may make it: nothing in the header follows from the rest by itself. */
struct RawMessage {
    android::hardware::transport::MessageHeader header{};
    std::vector<uint8_t> body;
    std::vector<int> fds;
};

RawMessage rawMessage(android::hardware::transport::MessageType type, uint64_t target = 0, uint32_t code = 0);

/** A well-formed call of `method`, its arguments written by `write`. */
RawMessage rawCall(
    uint64_t object, uint32_t method,
    const std::function<void(android::hardware::Parcel&)>& write = [](auto&) {});
void addReference(RawMessage* message, uint64_t object, uint32_t owner, uint32_t reserved = 0);

/** A client that speaks the transport by hand. */
class RawPeer {
  public:
    /** Connects to the service registered as `instance`, and says nothing. */
    explicit RawPeer(const std::string& instance = "default");

    int control() const { return mControl.get(); }
    /** Number of the service's object. */
    uint64_t object() const { return mObject; }

    void hello(uint32_t version = android::hardware::transport::kWireVersion);
    /** A new call channel's near end, which stays this object's. */
    int openChannel();

  private:
    unique_fd mControl;
    uint64_t mObject = 0;
    std::vector<unique_fd> mChannels;
};

/** Sends one packet; whether the kernel took it. Once sent, it lies in the service's queue. */
bool sendRaw(int socket, const void* data, size_t size, const std::vector<int>& fds = {});
bool sendRaw(int socket, const RawMessage& message);

/** The next packet; nothing where the peer has closed, or none comes. Its descriptors are lost. */
std::optional<RawMessage> receiveRaw(int socket);
/** Whether the peer closes the socket, whatever it sends before. */
bool closes(int socket);

/** The transport's status in the reply to a call. */
status_t statusOfReply(int socket);
/** The result of mark() in a reply. */
uint32_t positionOfReply(int socket);

}  // namespace hidlaudio::test
