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

ListenSource::ListenSource(base::unique_fd socket) : mSocket(std::move(socket)), mReserve(openReserve()) {}

void ListenSource::ready(Turn&) {
    accept();
}

void ListenSource::accept() {
    base::unique_fd socket(accept4(mSocket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (socket < 0 && (errno == EMFILE || errno == ENFILE)) {
        refuse(errno);
        return;
    }
    if (socket < 0) return;
    Peer peer;
    if (!peerOf(socket, &peer)) {
        ALOGE("process %d of user %u may not connect", peer.pid, peer.uid);
        return;
    }
    auto link = std::make_shared<Link>(std::move(socket), peer.pid, peer.uid);
    if (!Process::self().admit(link)) {
        ALOGE("process %d has too many connections: one is refused", peer.pid);
        return;
    }
    ControlSource::watch(link, true);
}

void ListenSource::refuse(int error) {
    // Left in the queue, the connection would wake the pool for ever: it is taken
    // with a descriptor kept for that, and turned away.
    const bool hadReserve = mReserve.get() >= 0;
    mReserve.reset();
    base::unique_fd refused(accept4(mSocket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    const bool isRefused = refused >= 0;
    if (isRefused) {
        MessageHeader header{};
        header.type = kTurnedAway;
        header.code = static_cast<uint32_t>(-error);
        (void)Channel(std::move(refused), Channel::Kind::Control).send(header);
    }
    mReserve = openReserve();
    if (isRefused) {
        ALOGE("too many clients: a connection is refused");
    } else {
        if (hadReserve) ALOGE("too many clients: no descriptor is left to refuse one with, it waits");
        // Another thread was faster with the descriptor: a breath until the next attempt.
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void PeerSource::ready(Turn& turn) {
    turn.forget();
    Process::self().pool().remove(*this);
    mLink->hangUp();
}

std::shared_ptr<ControlSource> ControlSource::watch(const std::shared_ptr<Link>& link, bool expectsHello) {
    std::shared_ptr<PeerSource> peer;
    base::unique_fd process = openProcess(link->peerPid);
    if (process >= 0) {
        peer = std::make_shared<PeerSource>(link, std::move(process));
        Process::self().pool().add(peer);
    } else if (errno == ESRCH) {
        link->hangUp();  // it ended before it was accepted
    } else {
        ALOGW("can't watch process %d: %s", link->peerPid, strerror(errno));
    }
    auto control = std::make_shared<ControlSource>(link, peer, expectsHello);
    Process::self().pool().add(control);
    return control;
}

void ControlSource::finish() {
    if (mFinished.exchange(true)) return;
    if (mPeer != nullptr) Process::self().pool().remove(*mPeer);
    Process::self().pool().remove(*this);
    Process::self().forget(*mLink);
    mLink->end();
}

void ControlSource::ready(Turn& turn) {
    IncomingMessage message;
    const Channel::Received received = mControl->receive(&message, false);
    if (received == Channel::Received::Nothing) return;
    if (received == Channel::Received::Message && handle(std::move(message), turn)) {
        mLink->dropUnreferenced();
        return;
    }
    if (received != Channel::Received::Closed && !mShort)
        ALOGE("process %d broke the transport's format", mLink->peerPid);
    turn.forget();
    finish();
}

bool ControlSource::endForShortage() {
    MessageHeader header{};
    header.type = kTurnedAway;
    header.code = static_cast<uint32_t>(takeShortage());
    ALOGE("the connection of process %d ends for that reason", mLink->peerPid);
    (void)mLink->sendControl(header);
    mShort = true;
    return false;
}

bool ControlSource::handle(IncomingMessage&& message, Turn& turn) {
    const MessageHeader header = message.header;
    if (mExpectsHello != (header.type == kHello)) return false;
    switch (header.type) {
        case kHello:
            return hello(header);
        case kNewCallChannel:
            return newCallChannel(std::move(message));
        case kReceiveSpace:
            return mLink->takeReceiveSpace(&message);
        case kTurnedAway:
            mLink->turnAway(header.code);
            return true;
        case kRefused:
            ReceiveSpace::own().audit(header.code);
            return true;
        case kAcquire:
            mLink->acquire(header.target);
            return true;
        case kRelease:
            return mLink->release(header.target, header.code);
        case kCall:
            return (header.flags & kOneway) != 0 && oneway(std::move(message), turn);
        default:
            return false;
    }
}

bool ControlSource::hello(const MessageHeader& header) {
    if (header.code != kWireVersion) {
        ALOGE("process %d speaks version %u of the transport, not %u", mLink->peerPid, header.code,
              kWireVersion);
        return false;
    }
    mExpectsHello = false;
    Process::self().remember(header.target, mLink);
    return true;
}

bool ControlSource::newCallChannel(IncomingMessage&& message) {
    if (message.incomplete) return true;  // the peer finds its end closed
    if (message.fdCount() != 1) return false;
    base::unique_fd& socket = message.attachments->fds.front();
    if (!isChannelOf(socket, mLink->peerPid)) return false;
    auto channel = std::make_shared<Channel>(std::move(socket), Channel::Kind::Call);
    if (!Process::self().admitsChannel(*mLink) || !mLink->addPeerChannel(channel)) return false;
    // Before the pool may answer calls on the channel. A client that has no thread for its
    // control channel reads this before its first reply.
    if (mLink->knowsReceiveSpace()) mLink->giveReceiveSpace(*channel);
    Process::self().pool().add(std::make_shared<CallSource>(mLink, channel));
    return true;
}

bool ControlSource::oneway(IncomingMessage&& message, Turn& turn) {
    if (!mLink->resolve(&message)) return false;
    // Nobody waits for an answer. But later messages would lie in memory that was lost.
    if (message.incomplete) return (message.header.flags & kNewBulkMemory) == 0 || endForShortage();
    sp<BHwBinder> target = mLink->target(message.header.target);
    if (target == nullptr) return true;  // gone meanwhile
    const Enqueued enqueued = enqueueOneway(*target, mLink, std::move(message), shared_from_this());
    if (enqueued == Enqueued::Stops) {
        turn.forget();
        return true;
    }
    turn.end();
    if (enqueued == Enqueued::MustServe) serveOneways(target);
    return true;
}

void CallSource::ready(Turn& turn) {
    Parcel data;
    IncomingMessage& message = data.incoming();
    const Channel::Received received = mChannel->receive(&message, false);
    if (received == Channel::Received::Nothing) return;
    const bool isCall = received == Channel::Received::Message && message.header.type == kCall &&
                        (message.header.flags & kOneway) == 0;
    if (isCall && mLink->resolve(&message)) {
        serveCall(mLink, *mChannel, data, &turn);
        return;
    }
    if (received != Channel::Received::Closed) {
        ALOGE("process %d broke the transport's format", mLink->peerPid);
        mLink->kill();
    }
    turn.forget();
    Process::self().pool().remove(*this);
}

void ReleaseSource::ready(Turn& turn) {
    if (!mLink->sendWaitingReleases()) return;
    turn.forget();
    Process::self().pool().remove(*this);
}

void ObituarySource::ready(Turn& turn) {
    turn.forget();
    Process::self().pool().remove(*this);
    mProxy->sendObituary();
}

}  // namespace android::hardware::transport
