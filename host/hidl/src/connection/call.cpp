// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "call.h"

#include <hwbinder/IPCThreadState.h>
#include <log/log.h>
#include <unistd.h>

#include <algorithm>

#include "host/hidl/src/threads/process.h"
#include "host/hidl/src/threads/spin.h"

namespace android::hardware::transport {
namespace {

// A call that this thread serves. Until it is answered, the caller's thread waits on `channel` and
// serves the calls that are sent there.
struct Frame {
    PeerConnection* link;
    Channel* channel;
    bool answered;
};

// Maximum depth of nested calls: bounds the stack that a peer can consume with endless nested calls.
constexpr size_t kMaxDepth = 64;

// Maximum number of queued oneway calls per object. Further ones stay in the socket; once that is full,
// the sender's calls fail.
constexpr size_t kMaxWaitingOneways = 256;

struct OwnChannel {
    uint64_t linkNumber;
    std::weak_ptr<PeerConnection> link;
    std::weak_ptr<Channel> channel;
};

struct ThreadState {
    std::vector<Frame*> frames;
    std::vector<OwnChannel> channels;

    ~ThreadState() {
        for (const OwnChannel& own : channels) {
            auto link = own.link.lock();
            auto channel = own.channel.lock();
            if (link != nullptr && channel != nullptr) link->releaseCallChannel(channel);
        }
    }
};

ThreadState& thread() {
    static thread_local ThreadState state;
    return state;
}

class ScopedFrame {
  public:
    explicit ScopedFrame(Frame* frame) { thread().frames.push_back(frame); }
    ~ScopedFrame() { thread().frames.pop_back(); }
    ScopedFrame(const ScopedFrame&) = delete;
    ScopedFrame& operator=(const ScopedFrame&) = delete;
};

// Returns the channel on which a thread of the peer waits for this thread's answer, or `nullptr`.
Channel* nestedChannel(const PeerConnection& link) {
    const std::vector<Frame*>& frames = thread().frames;
    auto waits = [&link](const Frame* frame) { return frame->link == &link && !frame->answered; };
    auto found = std::find_if(frames.rbegin(), frames.rend(), waits);
    return found != frames.rend() ? (*found)->channel : nullptr;
}

// A channel for one call, if the thread has none of its own.
struct BorrowedChannel {
    PeerConnection& link;
    std::shared_ptr<Channel> channel;

    explicit BorrowedChannel(PeerConnection& from) : link(from) {}
    ~BorrowedChannel() {
        if (channel != nullptr) link.releaseCallChannel(channel);
    }
    BorrowedChannel(const BorrowedChannel&) = delete;
    BorrowedChannel& operator=(const BorrowedChannel&) = delete;
};

status_t ownChannel(PeerConnection& link, std::shared_ptr<Channel>* channel, BorrowedChannel* borrowed) {
    std::vector<OwnChannel>& channels = thread().channels;
    for (const OwnChannel& own : channels) {
        if (own.linkNumber != link.number) continue;
        *channel = own.channel.lock();
        if (*channel != nullptr) return OK;
    }
    auto gone = [](const OwnChannel& own) { return own.channel.expired(); };
    channels.erase(std::remove_if(channels.begin(), channels.end(), gone), channels.end());
    bool forOneCall = false;
    const status_t status = link.acquireCallChannel(channel, &forOneCall);
    if (status != OK) return status;
    if (forOneCall) {
        borrowed->channel = *channel;
    } else {
        channels.push_back({link.number, link.weak_from_this(), *channel});
    }
    return OK;
}

bool bringsObjectsHome(const IncomingMessage& message) {
    if (message.attachments == nullptr) return false;
    const std::vector<ObjectReference>& references = message.attachments->references;
    return std::any_of(references.begin(), references.end(),
                       [](const ObjectReference& one) { return one.owner == kReceiversObject; });
}

void acknowledgeReply(PeerConnection& link, Channel& channel) {
    if (channel.send(messageHeader(kReplyRead)) != OK) link.kill();
}

// Returns the status of a call whose channel the peer has closed.
status_t closed(PeerConnection& link, Channel& channel) {
    const status_t status =
        nestedChannel(link) == &channel ? static_cast<status_t>(DEAD_OBJECT) : link.lostCallChannel(channel);
    if (status == DEAD_OBJECT) link.kill();
    return status;
}

status_t waitReply(PeerConnection& link, Channel& channel, Parcel* reply) {
    for (;;) {
        IncomingMessage& message = reply->incoming();
        const Channel::Received received = receiveSpinning(channel, &message);
        if (received == Channel::Received::Closed) return closed(link, channel);
        if (received == Channel::Received::Message && message.header.type == kReceiveSpace &&
            link.mapReceiveSpace(&message)) {
            message.attachments.reset();
            continue;
        }
        if (received == Channel::Received::Message && message.header.type == kLane &&
            nestedChannel(link) != &channel && channel.adoptLane(&message)) {
            message.attachments.reset();
            continue;
        }
        const bool understood = received == Channel::Received::Message && link.resolve(&message) &&
                                (message.header.type == kReply || message.header.type == kCall);
        if (!understood) {
            ALOGE("process %d broke the transport's format", link.peerPid);
            break;
        }
        if (message.header.type == kCall) {
            Parcel data;
            data.incoming() = std::move(message);
            serveCall(link.shared_from_this(), channel, data, nullptr);
            continue;
        }
        if (bringsObjectsHome(message)) acknowledgeReply(link, channel);
        if (message.incomplete) return FAILED_TRANSACTION;
        reply->startReading();
        const auto status = static_cast<status_t>(message.header.code);
        if (status == FAILED_TRANSACTION) ReceiveSpace::own().audit();
        return status;
    }
    link.kill();
    return DEAD_OBJECT;
}

status_t sendOnewayCall(PeerConnection& link, MessageHeader header, OutgoingBody& body,
                        const std::vector<ObjectReference>& references) {
    header.flags |= kOneway;
    const status_t status = link.sendOneway(header, body, references);
    // The receiver is too far behind. The platform returns this error if its buffer is full.
    return status == WOULD_BLOCK ? static_cast<status_t>(FAILED_TRANSACTION) : status;
}

// Sends a call or reply. The peer's thread reads each message of this channel before the next one is
// due, so the socket can only be full if the peer violates the protocol.
status_t sendInTurn(PeerConnection& link, Channel& channel, const MessageHeader& header, OutgoingBody& body,
                    const std::vector<ObjectReference>& references) {
    const status_t status = link.send(channel, header, body, references);
    if (status != WOULD_BLOCK) return status;
    link.kill();
    return DEAD_OBJECT;
}

void sendStatus(PeerConnection& link, Channel& channel, status_t status) {
    const MessageHeader header = messageHeader(kReply, static_cast<uint32_t>(status));
    if (channel.send(header) != OK) link.kill();
}

void keepPeersObjects(Channel& channel, const OutgoingBody& body) {
    for (const sp<IBinder>& object : body.objects) {
        if (object->remoteBinder() != nullptr) channel.heldUntilNext.push_back(object);
    }
}

void sendReply(PeerConnection& link, Channel& channel, Parcel& reply) {
    OutgoingBody& body = reply.outgoing();
    std::vector<ObjectReference> references;
    status_t status = link.reference(body.objects, &references);
    if (status == OK) {
        keepPeersObjects(channel, body);
        status = sendInTurn(link, channel, messageHeader(kReply), body, references);
        if (status != OK) link.releaseReferences(references);
        if (status == DEAD_OBJECT) link.kill();
    }
    if (status != OK && status != DEAD_OBJECT) sendStatus(link, channel, status);
}

// Sends the results of the served method, before or after the method returns.
struct Answer {
    PeerConnection& link;
    Channel& channel;
    Frame& frame;
    DispatchGuard* turn;

    void send(Parcel& results) {
        frame.answered = true;
        sendReply(link, channel, results);
        if (turn != nullptr) turn->end();
    }
};

status_t callLiving(PeerConnection& link, uint64_t object, uint32_t code, const Parcel& data, Parcel* reply,
                    bool oneway) {
    if (link.dead()) return DEAD_OBJECT;
    OutgoingBody& body = data.outgoing();
    if (body.tooLarge) return FAILED_TRANSACTION;
    const MessageHeader header = messageHeader(kCall, code, object);
    std::vector<ObjectReference> references;
    status_t status = link.reference(body.objects, &references);
    if (status != OK) return status;
    // A process that passes out an object must serve it and receive its release. The generated code
    // starts the pool only for arguments that are interfaces themselves.
    if (!references.empty()) Process::self().pool().start();

    BorrowedChannel borrowed(link);
    std::shared_ptr<Channel> own;
    Channel* channel = nullptr;
    if (oneway) {
        status = sendOnewayCall(link, header, body, references);
    } else {
        channel = nestedChannel(link);
        if (channel == nullptr) {
            status = ownChannel(link, &own, &borrowed);
            channel = own.get();
        }
        if (status == OK) status = sendInTurn(link, *channel, header, body, references);
        if (status == DEAD_OBJECT && channel != nullptr) status = closed(link, *channel);
    }
    if (status != OK) link.releaseReferences(references);
    if (status == FAILED_TRANSACTION) link.reportRefusal();
    if (status != OK || oneway) return status;
    return waitReply(link, *channel, reply);
}

}  // namespace

status_t callRemote(PeerConnection& link, uint64_t object, uint32_t code, const Parcel& data, Parcel* reply,
                    bool oneway) {
    const status_t status = callLiving(link, object, code, data, reply, oneway);
    return status == DEAD_OBJECT ? link.reasonOfEnd() : status;
}

void serveCall(const std::shared_ptr<PeerConnection>& link, Channel& channel, Parcel& data,
               DispatchGuard* turn) {
    const MessageHeader& header = data.incoming().header;
    sp<BHwBinder> target = link->target(header.target);
    if (target == nullptr || thread().frames.size() >= kMaxDepth || data.incoming().incomplete) {
        sendStatus(*link, channel, target == nullptr ? DEAD_OBJECT : FAILED_TRANSACTION);
        return;
    }
    Frame frame{link.get(), &channel, false};
    ScopedFrame scope(&frame);
    data.startReading();
    Parcel reply;
    Answer answer{*link, channel, frame, turn};
    // The lambda captures only a reference, so that std::function need not allocate memory.
    const status_t status =
        target->transact(header.code, data, &reply, 0, [&answer](Parcel& results) { answer.send(results); });
    if (frame.answered) return;
    if (status == OK) {
        answer.send(reply);
    } else {
        frame.answered = true;
        sendStatus(*link, channel, status);
    }
}

Enqueued enqueueOneway(BHwBinder& target, const std::shared_ptr<PeerConnection>& link,
                       IncomingMessage&& message, const std::shared_ptr<Source>& source) {
    OnewayQueue& queue = target.onewayQueue();
    std::lock_guard<std::mutex> lock(queue.mutex);
    queue.pending.push_back({link, std::move(message)});
    if (!queue.serving) {
        queue.serving = true;
        return Enqueued::MustServe;
    }
    if (queue.pending.size() < kMaxWaitingOneways) return Enqueued::Waits;
    queue.stopped.push_back(source);
    return Enqueued::Stops;
}

void serveOneways(const sp<BHwBinder>& target) {
    OnewayQueue& queue = target->onewayQueue();
    for (;;) {
        OnewayQueue::Pending next;
        std::vector<std::shared_ptr<Source>> resumed;
        {
            std::lock_guard<std::mutex> lock(queue.mutex);
            queue.serving = !queue.pending.empty();
            if (!queue.serving) return;
            next = std::move(queue.pending.front());
            queue.pending.pop_front();
            if (queue.pending.size() < kMaxWaitingOneways / 2) resumed.swap(queue.stopped);
        }
        for (const auto& source : resumed) Process::self().pool().resume(*source);
        Frame frame{next.link.get(), nullptr, true};
        ScopedFrame scope(&frame);
        const uint32_t code = next.message.header.code;
        Parcel data;
        Parcel reply;
        data.incoming() = std::move(next.message);
        data.startReading();
        (void)target->transact(code, data, &reply, IBinder::FLAG_ONEWAY, [](Parcel&) {});
    }
}

const PeerConnection* caller() {
    const std::vector<Frame*>& frames = thread().frames;
    return frames.empty() ? nullptr : frames.back()->link;
}

}  // namespace android::hardware::transport

namespace android::hardware {

IPCThreadState* IPCThreadState::self() {
    static IPCThreadState state;
    return &state;
}

pid_t IPCThreadState::getCallingPid() const {
    const transport::PeerConnection* link = transport::caller();
    return link != nullptr ? link->peerPid : getpid();
}

uid_t IPCThreadState::getCallingUid() const {
    const transport::PeerConnection* link = transport::caller();
    return link != nullptr ? link->peerUid : getuid();
}

}  // namespace android::hardware
