// SPDX-License-Identifier: Apache-2.0
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include "echo_services.h"
#include "host/hidl/src/threads/process.h"
#include "host/hidl/src/threads/sources.h"
#include "packets.h"
#include "private_tv.h"

namespace hidlaudio::fuzz {
namespace {

using namespace android::hardware::transport;  // NOLINT: names of the wire format
using test::ParentProbe;

constexpr uint32_t kAdd = 1;
constexpr size_t kMaxSteps = 64;
constexpr size_t kMaxChannels = 4;
constexpr size_t kMaxRounds = 100'000;

/** Serves all pending messages. Aborts if there is no end to them. */
void serveAll() {
    size_t rounds = 0;
    while (Process::self().pool().serveReady()) require(++rounds < kMaxRounds);
}

/** Connects a peer as the listening socket does. Returns the peer's end. */
android::base::unique_fd connectToService() {
    SocketPair sockets;
    auto link = std::make_shared<PeerConnection>(std::move(sockets.far), getpid(), getuid());
    ControlSource::watch(link, true);
    return std::move(sockets.near);
}

Packet packetOf(MessageType type, uint64_t target, uint32_t code) {
    MessageHeader header{};
    header.type = type;
    header.target = target;
    header.code = code;
    Packet packet;
    packet.bytes.resize(sizeof(header));
    memcpy(packet.bytes.data(), &header, sizeof(header));
    return packet;
}

android::base::unique_fd openChannel(int control) {
    SocketPair sockets;
    Packet packet = packetOf(kNewCallChannel, 0, 0);
    reinterpret_cast<MessageHeader*>(packet.bytes.data())->fdCount = 1;
    packet.fds = {sockets.far.get()};
    send(control, packet);
    return std::move(sockets.near);
}

/** Discards the messages and descriptors that the service has sent. */
void readAll(int socket) {
    uint8_t bytes[64];
    while (recv(socket, bytes, sizeof(bytes), MSG_DONTWAIT) > 0) {
    }
}

/** A client that never violates the protocol. */
class GoodClient {
  public:
    explicit GoodClient(uint64_t object) : control_(connectToService()) {
        send(control_.get(), packetOf(kHello, 1, kWireVersion));
        channel_ = openChannel(control_.get());
        android::hardware::Parcel parcel;
        parcel.writeInterfaceToken(ParentProbe::descriptor);
        parcel.writeInt32(1);
        parcel.writeInt32(2);
        const OutgoingBody& body = parcel.outgoing();
        call_ = packetOf(kCall, object, kAdd);
        reinterpret_cast<MessageHeader*>(call_.bytes.data())->bodySize = static_cast<uint32_t>(body.bodySize);
        call_.bytes.insert(call_.bytes.end(), body.body(), body.body() + body.bodySize);
        serveAll();
    }

    void call() const {
        send(channel_.get(), call_);
        serveAll();
        struct {
            MessageHeader header;
            int32_t status;
            int32_t sum;
        } reply{};
        // The offer of a lane comes first. This client ignores it.
        ssize_t size = 0;
        do {
            size = recv(channel_.get(), &reply, sizeof(reply), MSG_DONTWAIT);
            require(size > 0);
        } while (reply.header.type == kDescriptorsFollow || reply.header.type == kLane);
        require(size == sizeof(reply));
        require(reply.header.type == kReply && reply.status == 0 && reply.sum == 3);
    }

  private:
    android::base::unique_fd control_;
    android::base::unique_fd channel_;
    Packet call_;
};

struct Service {
    android::sp<EchoProbe> probe = new EchoProbe;
    uint64_t object = 0;
    std::unique_ptr<GoodClient> client;

    Service() {
        makePrivateTv();
        // Create the memory of the receive buffer now, so that its descriptors are open before the first
        // input.
        ReceiveSpace::own().open(getpid())->close();
        // No thread joins the pool: serveAll() serves the inputs on this thread.
        android::hardware::configureRpcThreadpool(1, true);
        require(probe->registerAsService("default") == android::OK);
        object = android::hardware::getOrCreateCachedBinder(probe.get())->localBinder()->exportId();
        client = std::make_unique<GoodClient>(object);
        // After these calls, its channel has opened all its descriptors.
        for (int i = 0; i < kLaneCalls; ++i) client->call();
    }
};

Service& service() {
    static auto& service = *new Service;
    return service;
}

/** The peer whose actions the input describes. */
class Peer {
  public:
    Peer() : control_(connectToService()) {}

    void step(Input& input) {
        const auto what = input.take<uint8_t>();
        const int to = socket(what / 8U);
        switch (what % 8) {
            case 0:
                return send(control_.get(), packetOf(kHello, input.take<uint8_t>() + 2U, kWireVersion));
            case 1:
                if (channels_.size() < kMaxChannels) channels_.push_back(openChannel(control_.get()));
                return;
            case 2:
                return serve();
            case 3:
                return readAll(to);
            case 4:
                return raw(input, to);
            case 5:
                return control(input);
            default:
                send(to, takeMessage(input, service().object, ParentProbe::descriptor, other_.far.get()));
        }
    }

    /** Shuts the channels down first: otherwise the service could wait for a reply of this peer. */
    void serve() {
        for (const auto& channel : channels_) shutdown(channel.get(), SHUT_WR);
        serveAll();
    }

  private:
    /** Returns a call channel, 0 being the newest, or the control channel if there is none of that index. */
    int socket(size_t which) const {
        const size_t index = which % (kMaxChannels + 1);
        return index < channels_.size() ? channels_[channels_.size() - 1 - index].get() : control_.get();
    }

    static void raw(Input& input, int to) {
        Packet packet;
        const size_t size = std::min<size_t>(input.take<uint8_t>(), input.left());
        const uint8_t* bytes = input.take(size);
        packet.bytes.assign(bytes, bytes + size);
        send(to, packet);
    }

    void control(Input& input) const {
        const auto type = static_cast<MessageType>(input.take<uint8_t>());
        const auto number = input.take<uint8_t>();
        const auto count = input.take<uint8_t>();
        send(control_.get(), packetOf(type, number == 0 ? service().object : number, count));
    }

    SocketPair other_;
    android::base::unique_fd control_;
    std::vector<android::base::unique_fd> channels_;
};

}  // namespace
}  // namespace hidlaudio::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    hidlaudio::fuzz::silenceLog();
    return 0;
}

/**
 * Runs a peer against a live service on one thread. A good client must be served before and afterwards,
 * and the peer must not leave descriptors open.
 *
 * Input: steps, each a byte for the action and the socket, followed by the data of the action.
 */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace hidlaudio::fuzz;  // NOLINT: names of this file
    Input input(data, size);
    descriptor(0, -1);
    service().client->call();
    const auto open = openDescriptors();
    {
        Peer peer;
        for (size_t i = 0; i < kMaxSteps && input.left() > 0; ++i) peer.step(input);
        peer.serve();
        service().client->call();
    }
    serveAll();
    service().client->call();
    require(openDescriptors() == open);
    return 0;
}
