// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "sources.h"

#include <errno.h>
#include <fcntl.h>
#include <log/log.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "host/hidl/src/connection/call.h"
#include "host/hidl/src/connection/peer.h"
#include "host/hidl/src/connection/shortage.h"
#include "process.h"

namespace android::hardware::transport {
namespace {

base::unique_fd openReserve() {
    return base::unique_fd(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

}  // namespace

ListenSource::ListenSource(base::unique_fd socket) : socket_(std::move(socket)), reserve_(openReserve()) {}

void ListenSource::onReadable(DispatchGuard&) {
    base::unique_fd socket(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (socket < 0 && (errno == EMFILE || errno == ENFILE)) socket = acceptInShortage(errno);
    if (socket < 0) return;
    Peer peer;
    if (!peerOf(socket, &peer)) {
        ALOGE("process %d of user %u may not connect", peer.pid, peer.uid);
        return;
    }
    auto link = std::make_shared<PeerConnection>(std::move(socket), peer.pid, peer.uid);
    if (!Process::self().admit(link)) {
        ALOGE("process %d has too many connections: one is refused", peer.pid);
        return;
    }
    ControlSource::watch(link, true);
}

base::unique_fd ListenSource::acceptInShortage(int error) {
    // A connection that stays in the queue would wake the pool again and again. Free the reserved
    // descriptor to accept it, send the reason and close it.
    const bool hadReserve = reserve_.get() >= 0;
    reserve_.reset();
    base::unique_fd socket(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    reserve_ = openReserve();
    // If there is a reserve beside the connection, the shortage is over.
    if (socket >= 0 && reserve_ >= 0) return socket;
    if (socket >= 0) {
        const MessageHeader header = messageHeader(kTurnedAway, static_cast<uint32_t>(-error));
        (void)Channel(std::move(socket), Channel::Kind::Control).send(header);
        reserve_ = openReserve();
        ALOGE("too many clients: a connection is refused");
    } else {
        if (hadReserve) ALOGE("too many clients: no descriptor is left to refuse one with, it waits");
        // Another thread has taken the descriptor: pause before the next attempt.
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return base::unique_fd();
}

void PeerSource::onReadable(DispatchGuard& turn) {
    turn.removeSource();
    link_->hangUp();
}

std::shared_ptr<ControlSource> ControlSource::watch(const std::shared_ptr<PeerConnection>& link,
                                                    bool expectsHello) {
    std::shared_ptr<PeerSource> peer;
    base::unique_fd process = openProcess(link->peerPid);
    if (process >= 0) {
        peer = std::make_shared<PeerSource>(link, std::move(process));
        Process::self().pool().add(peer);
    } else if (errno == ESRCH) {
        link->hangUp();  // the peer ended before its connection was accepted
    } else {
        ALOGW("can't watch process %d: %s", link->peerPid, strerror(errno));
    }
    auto control = std::make_shared<ControlSource>(link, peer, expectsHello);
    Process::self().pool().add(control);
    return control;
}

void ControlSource::finish() {
    if (finished_.exchange(true)) return;
    if (peer_ != nullptr) Process::self().pool().remove(*peer_);
    Process::self().pool().remove(*this);
    link_->end();
    Process::self().forget(*link_);  // after end(), for Process::connect()
}

void ControlSource::onReadable(DispatchGuard& turn) {
    IncomingMessage message;
    link_->beginControlMessage();
    const Channel::Received received = control_->receive(&message, false);
    const bool isMessage = received == Channel::Received::Message;
    const bool isCall = isMessage && message.header.type == kCall;
    if (isCall) link_->endControlMessage();  // serving it may take long
    const bool isHandled = isMessage && handle(std::move(message), turn);
    if (!isCall) link_->endControlMessage();
    if (received == Channel::Received::Nothing) return;
    if (isHandled) {
        link_->dropUnreferenced();
        return;
    }
    if (received != Channel::Received::Closed && !endedForShortage_)
        ALOGE("process %d broke the transport's format", link_->peerPid);
    turn.forget();
    finish();
}

bool ControlSource::endForShortage() {
    ALOGE("the connection of process %d ends for that reason", link_->peerPid);
    (void)link_->sendControl(messageHeader(kTurnedAway, static_cast<uint32_t>(takeShortage())));
    endedForShortage_ = true;
    return false;
}

bool ControlSource::handle(IncomingMessage&& message, DispatchGuard& turn) {
    const MessageHeader header = message.header;
    if (expectsHello_ != (header.type == kHello)) return false;
    switch (header.type) {
        case kHello:
            return hello(header);
        case kNewCallChannel:
            return newCallChannel(std::move(message));
        case kReceiveSpace:
            return link_->mapReceiveSpace(&message);
        case kTurnedAway:
            link_->turnAway(header.code);
            return true;
        case kRefused:
            ReceiveSpace::own().audit(header.code);
            return true;
        case kAcquire:
            link_->acquire(header.target);
            return true;
        case kRelease:
            return link_->release(header.target, header.code);
        case kCall:
            return (header.flags & kOneway) != 0 && oneway(std::move(message), turn);
        default:
            return false;
    }
}

bool ControlSource::hello(const MessageHeader& header) {
    if (header.code != kWireVersion) {
        ALOGE("process %d speaks version %u of the transport, not %u", link_->peerPid, header.code,
              kWireVersion);
        return false;
    }
    expectsHello_ = false;
    Process::self().remember(header.target, link_);
    return true;
}

bool ControlSource::newCallChannel(IncomingMessage&& message) {
    if (message.incomplete) return true;  // the peer finds its end of the channel closed
    if (message.fdCount() != 1) return false;
    base::unique_fd& socket = message.attachments->fds.front();
    if (!isChannelOf(socket, link_->peerPid)) return false;
    auto channel = std::make_shared<Channel>(std::move(socket), Channel::Kind::Call);
    if (!Process::self().admitsChannel(*link_) || !link_->addPeerChannel(channel)) return false;
    // Send this before the pool can answer calls on the channel: a client without a pool thread does not
    // read its control channel, but receives this before its first reply.
    if (link_->knowsReceiveSpace()) link_->announceReceiveSpace(*channel);
    Process::self().pool().add(std::make_shared<CallSource>(link_, channel));
    return true;
}

bool ControlSource::oneway(IncomingMessage&& message, DispatchGuard& turn) {
    if (!link_->resolve(&message)) return false;
    // No caller waits for a reply. But if shared memory was lost, later messages cannot be read.
    if (message.incomplete) return (message.header.flags & kNewBulkMemory) == 0 || endForShortage();
    sp<BHwBinder> target = link_->target(message.header.target);
    if (target == nullptr) return true;  // released in the meantime
    const Enqueued enqueued = enqueueOneway(*target, link_, std::move(message), shared_from_this());
    if (enqueued == Enqueued::Stops) {
        turn.forget();
        return true;
    }
    turn.end();
    if (enqueued == Enqueued::MustServe) serveOneways(target);
    return true;
}

void CallSource::countCall() {
    if (calls_ == kLaneCalls) return;
    ++calls_;
    if (calls_ < kLaneCalls) return;
    channel_->offerLane();
    if (channel_->bell() >= 0) Process::self().pool().addBell(*this);
}

void CallSource::onReadable(DispatchGuard& turn) {
    Parcel data;
    IncomingMessage& message = data.incoming();
    const Channel::Received received = channel_->receive(&message, false);
    if (received == Channel::Received::Nothing) return;
    const bool isCall = received == Channel::Received::Message && message.header.type == kCall &&
                        (message.header.flags & kOneway) == 0;
    if (isCall && link_->resolve(&message)) {
        countCall();
        serveCall(link_, *channel_, data, &turn);
        return;
    }
    if (received != Channel::Received::Closed) {
        ALOGE("process %d broke the transport's format", link_->peerPid);
        link_->kill();
    }
    turn.removeSource();
}

void ReleaseSource::onReadable(DispatchGuard& turn) {
    if (!link_->sendWaitingReleases()) return;
    turn.removeSource();
}

void ObituarySource::onReadable(DispatchGuard& turn) {
    turn.removeSource();
    proxy_->sendObituary();
}

}  // namespace android::hardware::transport
