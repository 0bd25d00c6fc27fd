// SPDX-License-Identifier: Apache-2.0
#include "offer.h"

#include <fcntl.h>
#include <sys/un.h>

#include "raw_peer.h"

namespace hidlaudio::test {
namespace {

/** A pair of sockets that stay open. */
struct Pair {
    int near = -1;
    int far = -1;

    explicit Pair(int type = SOCK_SEQPACKET) {
        int ends[2];
        if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends) != 0) abort();
        near = ends[0];
        far = ends[1];
    }
};

/** Offers `fd` as a call channel. */
void offerAsChannel(const RawPeer& peer, int fd) {
    (void)sendRaw(peer.control(), withFds(rawMessage(kNewCallChannel), {fd}));
}

int openPipe() {
    int ends[2];
    return pipe2(ends, O_CLOEXEC) == 0 ? ends[0] : -1;
}

/** Returns a listening socket with a name of its own, or, if `connected`, a client connected to it. */
int listening(bool connected) {
    const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socklen_t size = sizeof(sa_family_t);  // the kernel chooses a name
    if (bind(socket, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(socket, 1) != 0) abort();
    if (!connected) return socket;
    size = sizeof(address);
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    const int client = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (connect(client, reinterpret_cast<sockaddr*>(&address), size) != 0) abort();
    return client;
}

/** Sends `message` with `fds`, whatever number of descriptors its header claims. */
void sendWith(int socket, RawMessage message, const std::vector<int>& fds) {
    message.fds = fds;
    (void)sendRaw(socket, rawMessage(kDescriptorsFollow));
    (void)sendRaw(socket, message);
}

RawMessage filesCall(const RawClient& client, int fd) {
    native_handle_t* file = native_handle_create(1, 0);
    file->data[0] = fd;
    RawMessage call = rawCall(client.object(), kReadFiles, [&](Parcel& parcel) {
        const Files files{file, {}};
        size_t handle = 0;
        size_t ignored = 0;
        parcel.writeBuffer(&files, sizeof(files), &handle);
        parcel.writeEmbeddedNativeHandle(file, handle, 0);
        parcel.writeEmbeddedBuffer(nullptr, 0, &ignored, handle, sizeof(hidl_handle));
    });
    native_handle_delete(file);
    return call;
}

/**
 * Sets a callback and makes the service call it on a call channel of its own. Returns this process's end
 * of that channel.
 */
int channelOfService(const RawClient& client) {
    (void)sendRaw(client.channel, rawSetCallback(client.object()));
    (void)receiveRaw(client.channel);
    const RawMessage call = rawCall(client.object(), kCallBackFromThread,
                                    [](Parcel& parcel) { parcel.writeNativeHandleNoDup(nullptr); });
    (void)sendRaw(client.channel, call);
    std::vector<unique_fd> fds;
    while (fds.empty() && receiveRaw(client.control(), &fds)) continue;
    if (fds.empty()) abort();
    (void)receiveRaw(fds[0].get());  // the call
    return fds[0].release();
}

struct Offer {
    const char* name;
    void (*make)(RawClient& client);
};

const Offer kOffers[] = {
    {"its control connection", [](RawClient& client) { offerAsChannel(client, client.control()); }},
    {"a duplicate of its control connection",
     [](RawClient& client) { offerAsChannel(client, dup(client.control())); }},
    {"the connection of another link",
     [](RawClient& client) { offerAsChannel(client, (*new RawPeer).control()); }},
    {"a channel that the service has", [](RawClient& client) { offerAsChannel(client, client.channel); }},
    {"a channel of another link",
     [](RawClient& client) { offerAsChannel(client, (*new RawClient).channel); }},
    {"both ends of a pair",
     [](RawClient& client) {
         const Pair pair;
         offerAsChannel(client, pair.near);
         offerAsChannel(client, pair.far);
     }},
    {"one end of a pair", [](RawClient& client) { offerAsChannel(client, Pair().near); }},
    {"an end whose queue holds the other end",
     [](RawClient& client) {
         const Pair pair;
         (void)sendRaw(pair.near, "x", 1, {pair.near});
         offerAsChannel(client, pair.far);
     }},
    {"a stream", [](RawClient& client) { offerAsChannel(client, Pair(SOCK_STREAM).near); }},
    {"datagrams", [](RawClient& client) { offerAsChannel(client, Pair(SOCK_DGRAM).near); }},
    {"a socket that listens", [](RawClient& client) { offerAsChannel(client, listening(false)); }},
    {"a connection that is never accepted",
     [](RawClient& client) { offerAsChannel(client, listening(true)); }},
    {"a socket without peer",
     [](RawClient& client) { offerAsChannel(client, socket(AF_UNIX, SOCK_SEQPACKET, 0)); }},
    {"a pipe", [](RawClient& client) { offerAsChannel(client, openPipe()); }},
    {"memory", [](RawClient& client) { offerAsChannel(client, memfd_create("offer", MFD_CLOEXEC)); }},
    {"a device", [](RawClient& client) { offerAsChannel(client, open("/dev/null", O_RDWR)); }},
    {"a handle of its connection",
     [](RawClient& client) {
         sendWith(client.channel, filesCall(client, client.control()), {client.control()});
     }},
    {"its connection beside a call",
     [](RawClient& client) {
         (void)sendRaw(client.channel, rawCall(client.object(), kMark));
         sendWith(client.channel, rawCall(client.object(), kMark), {client.control(), client.channel});
     }},
    {"its connection on a channel of the service",
     [](RawClient& client) {
         const int channel = channelOfService(client);
         RawMessage answer = rawMessage(kReply);
         answer.header.bodySize = 8;
         answer.body.resize(8);
         (void)sendRaw(channel, answer);
         // The service does not read this, because none of its threads waits on that channel.
         for (int i = 0; i < 2; ++i) sendWith(channel, rawMessage(kReplyRead), {client.control(), channel});
     }},
};

}  // namespace

std::vector<std::string> offerNames() {
    std::vector<std::string> names;
    for (const Offer& one : kOffers) names.emplace_back(one.name);
    return names;
}

bool offer(const std::string& name) {
    for (const Offer& one : kOffers) {
        if (one.name != name) continue;
        auto* client =
            new RawClient;  // never deleted, so that its descriptors stay open until the process exits
        one.make(*client);
        return true;
    }
    return false;
}

}  // namespace hidlaudio::test
