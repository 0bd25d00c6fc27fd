// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <random>

#include "fixture.h"
#include "raw_peer.h"

namespace hidlaudio::test {

using namespace android::hardware::transport;  // NOLINT: the wire's names are what this file is about

namespace {

using android::hardware::Parcel;

/** Shared memory as bulk data lies in it, but for the given faults. */
unique_fd bulkMemory(size_t size = kBulkMemorySize, int seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) {
    unique_fd memory(memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    EXPECT_EQ(ftruncate(memory.get(), static_cast<off_t>(size)), 0);
    EXPECT_EQ(fcntl(memory.get(), F_ADD_SEALS, seals), 0);
    return memory;
}

class HostileTest : public HidlTest {
  protected:
    HostileTest() {
        EXPECT_EQ(probe_->add(1, 2), 3);
        descriptors_ = service_.descriptors();
    }

    /** Nobody else has suffered: a client is served at once, and nothing of the peer stays. */
    void expectUnharmed() {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(probe_->add(1, 2), 3);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
        EXPECT_TRUE(eventually([this] { return service_.descriptors() == descriptors_; }))
            << service_.descriptors() << " descriptors, not " << descriptors_;
    }

    Service service_;
    const sp<IProbe> probe_ = service_.get();
    size_t descriptors_;
};

// A message with one thing wrong, from a well-formed one.
RawMessage with(RawMessage message, const std::function<void(RawMessage&)>& change) {
    change(message);
    return message;
}

RawMessage withBody(RawMessage message, size_t size) {
    message.body.resize(size, 'b');
    message.header.bodySize = static_cast<uint32_t>(size);
    return message;
}

RawMessage withFds(RawMessage message, std::vector<int> fds, size_t claimed) {
    message.fds = std::move(fds);
    message.header.fdCount = static_cast<uint16_t>(claimed);
    return message;
}

RawMessage noteCall(uint64_t object) {
    RawMessage note = rawCall(object, kNote, [](Parcel& parcel) { parcel.writeInt32(1); });
    note.header.flags = kOneway;
    return note;
}

TEST_F(HostileTest, WhoBreaksTheFormatOfTheControlChannelLosesTheConnection) {
    const unique_fd null(open("/dev/null", O_RDWR | O_CLOEXEC));
    int stream[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, stream), 0);
    const unique_fd streams[] = {unique_fd(stream[0]), unique_fd(stream[1])};
    const uint64_t object = RawPeer().object();
    const RawMessage hello = rawMessage(kHello, 77, kWireVersion);
    const RawMessage note = noteCall(object);
    const RawMessage channel = rawMessage(kNewCallChannel);
    const struct {
        const char* name;
        std::vector<RawMessage> messages;
    } kCases[] = {
        {"another version", {rawMessage(kHello, 77, kWireVersion + 1)}},
        {"no hello", {note}},
        {"no hello, acquire", {rawMessage(kAcquire, object)}},
        {"two hellos", {hello, hello}},
        {"type 0", {with(hello, [](auto& m) { m.header.type = 0; })}},
        {"unknown type", {hello, with(hello, [](auto& m) { m.header.type = kLastMessageType + 1; })}},
        {"unknown flag", {with(hello, [](auto& m) { m.header.flags = 0x80; })}},
        {"hello with a body", {withBody(hello, 8)}},
        {"longer than it says", {hello, with(note, [](auto& m) { m.body.push_back(0); })}},
        {"shorter than it says", {hello, with(note, [](auto& m) { m.body.pop_back(); })}},
        {"larger than a packet may be", {hello, withBody(note, 2 * kMaxPacket)}},
        {"a body of 4 GiB", {hello, with(note, [](auto& m) { m.header.bodySize = UINT32_MAX; })}},
        {"no channel in it", {hello, channel}},
        {"no socket", {hello, withFds(channel, {null.get()}, 1)}},
        {"a stream socket", {hello, withFds(channel, {stream[0]}, 1)}},
        {"two channels in one", {hello, withFds(channel, {null.get(), null.get()}, 2)}},
        {"fewer descriptors than it says", {hello, withFds(note, {null.get()}, 2)}},
        {"more descriptors than it says", {hello, withFds(note, {null.get()}, 0)}},
        {"more descriptors than one may send",
         {hello, withFds(note, std::vector<int>(250, null.get()), 128)}},
        {"descriptors beyond the limit", {hello, withFds(note, std::vector<int>(129, null.get()), 129)}},
        {"a reply", {hello, rawMessage(kReply)}},
        {"a two-way call", {hello, rawCall(object, kMark)}},
        {"an announcement", {hello, rawMessage(kDescriptorsFollow)}},
        {"gives back nothing", {hello, rawMessage(kRelease, object, 0)}},
        {"gives back more than it has",
         {hello, rawMessage(kAcquire, object), rawMessage(kRelease, object, 2)}},
        {"more objects than there are", {hello, with(note, [](auto& m) { m.header.objectCount = 9; })}},
        {"unknown object of ours",
         {hello, with(note, [](auto& m) { addReference(&m, 999, kReceiversObject); })}},
        {"an owner that is neither", {hello, with(note, [](auto& m) { addReference(&m, 1, 3); })}},
        {"a reference with more",
         {hello, with(note, [](auto& m) { addReference(&m, 1, kSendersObject, 1); })}},
        {"bulk without memory", {hello, with(note, [](auto& m) { m.header.bulkSize = 64; })}},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.name);
        {
            RawPeer peer;
            for (const RawMessage& message : one.messages) EXPECT_TRUE(sendRaw(peer.control(), message));
            EXPECT_TRUE(closes(peer.control()));
        }
        expectUnharmed();
    }
    for (const size_t size : {0u, 1u, 31u, 200u}) {
        SCOPED_TRACE(size);
        {
            RawPeer peer;
            EXPECT_TRUE(sendRaw(peer.control(), std::string(size, '\x7f').data(), size));
            EXPECT_TRUE(closes(peer.control()));
        }
        expectUnharmed();
    }
}

TEST_F(HostileTest, WhoBreaksTheFormatOfACallChannelLosesTheConnection) {
    const uint64_t object = RawPeer().object();
    const RawMessage call = rawCall(object, kMark);
    const RawMessage announcement = rawMessage(kDescriptorsFollow);
    const unique_fd null(open("/dev/null", O_RDWR | O_CLOEXEC));
    const unique_fd memory = bulkMemory();
    const unique_fd unsealed = bulkMemory(kBulkMemorySize, 0);
    const unique_fd shorter = bulkMemory(4096);
    const unique_fd notWritable = bulkMemory(kBulkMemorySize, F_SEAL_SHRINK | F_SEAL_FUTURE_WRITE);
    const auto giving = [&call](const unique_fd& given) {
        RawMessage message = withFds(call, {given.get()}, 0);
        message.header.flags = kNewBulkMemory;
        return message;
    };
    const auto bulk = [&](uint32_t offset, uint32_t size, uint8_t flags = 0) {
        RawMessage message = giving(memory);
        message.header.flags |= flags;
        message.header.bulkOffset = offset;
        message.header.bulkSize = size;
        if (flags == kBodyInBulk) message.body.clear();
        return message;
    };
    const auto bodyOf = [](RawMessage message, uint32_t size) {
        message.header.bodySize = size;
        return message;
    };
    const struct {
        const char* name;
        std::vector<RawMessage> messages;
    } kCases[] = {
        {"a reply that nobody waits for", {rawMessage(kReply)}},
        {"a reply after the reply", {call, rawMessage(kReply)}},
        {"hello", {rawMessage(kHello, 1, kWireVersion)}},
        {"oneway", {noteCall(object)}},
        {"a reply read that there was not", {rawMessage(kReplyRead)}},
        {"two announcements", {announcement, announcement}},
        {"descriptors without announcement", {withFds(call, {memory.get()}, 1)}},
        {"announcement without descriptors", {announcement, withFds(call, {}, 1)}},
        {"memory without descriptor", {with(call, [](auto& m) { m.header.flags = kNewBulkMemory; })}},
        {"memory that may shrink", {announcement, giving(unsealed)}},
        {"memory too short", {announcement, giving(shorter)}},
        {"memory that cannot be given back", {announcement, giving(notWritable)}},
        {"no memory at all", {announcement, giving(null)}},
        {"memory twice", {announcement, giving(memory), announcement, giving(memory)}},
        {"a block between blocks", {announcement, bulk(1, 64)}},
        {"a block beyond the memory", {announcement, bulk(kBulkMemorySize, 64)}},
        {"a block that wraps round", {announcement, bulk(UINT32_MAX - 63, 128)}},
        {"a block that ends beyond", {announcement, bulk(0, kBulkMemorySize)}},
        {"a body in no bulk", {with(call, [](auto& m) { m.header.flags = kBodyInBulk; })}},
        {"a body beyond its block", {announcement, bodyOf(bulk(0, 64, kBodyInBulk), 65)}},
        {"a body beyond any limit",
         {announcement, bodyOf(bulk(0, kBulkMemorySize - 64, kBodyInBulk), kTransactionLimit + 1)}},
        {"unknown object of ours", {with(call, [](auto& m) { addReference(&m, 999, kReceiversObject); })}},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.name);
        {
            RawPeer peer;
            peer.hello();
            const int channel = peer.openChannel();
            for (const RawMessage& message : one.messages) {
                EXPECT_TRUE(sendRaw(channel, message));
                if (message.header.type != kCall || &message == &one.messages.back()) continue;
                EXPECT_EQ(statusOfReply(channel), android::OK);
            }
            EXPECT_TRUE(closes(channel));
            EXPECT_TRUE(closes(peer.control()));
        }
        expectUnharmed();
    }
}

// Well-formed messages whose content is wrong: the call fails, the peer may go on.
TEST_F(HostileTest, AWrongCallGetsAnErrorAndNothingElse) {
    constexpr uint32_t kUnknownMethod = 4711;
    RawPeer peer;
    peer.hello();
    const int channel = peer.openChannel();
    const uint64_t object = peer.object();
    using Write = std::function<void(Parcel&)>;
    // The arguments of echoBytes or echoText, the vector or string itself, with what it claims to be.
    const auto sequence = [](uint32_t size, const std::string& content, uint32_t parentOffset = 0) {
        return [=](Parcel& parcel) {
            const uint32_t words[4] = {0, 0, size, 1};
            size_t handle = 0;
            parcel.writeBuffer(words, sizeof(words), &handle);
            parcel.writeEmbeddedBuffer(content.data(), content.size(), &handle, handle, parentOffset);
        };
    };
    const auto handle = [](int32_t fds, int32_t ints) {
        return [=](Parcel& parcel) {
            const uint64_t words[4] = {};
            size_t files = 0;
            parcel.writeBuffer(words, sizeof(words), &files);
            parcel.writeInt32(fds);
            parcel.writeInt32(ints);
        };
    };
    const struct {
        const char* name;
        uint32_t method;
        Write write;
        status_t status;
    } kCases[] = {
        {"unknown method", kUnknownMethod, [](Parcel&) {}, android::UNKNOWN_TRANSACTION},
        {"no arguments", kAdd, [](Parcel&) {}, android::NOT_ENOUGH_DATA},
        {"half of the arguments", kAdd, [](Parcel& p) { p.writeInt32(1); }, android::NOT_ENOUGH_DATA},
        {"a oneway method that is called two-way", kNote, [](Parcel& p) { p.writeInt32(1); },
         android::UNKNOWN_ERROR},
        {"an object that was not sent", kSetCallback, [](Parcel& p) { p.writeUint32(5); },
         android::BAD_VALUE},
        {"more bytes than there are", kEchoBytes, sequence(9, "12345678"), android::BAD_VALUE},
        {"fewer bytes than there are", kEchoBytes, sequence(7, "12345678"), android::BAD_VALUE},
        {"4 GiB", kEchoBytes, sequence(UINT32_MAX, "12345678"), android::BAD_VALUE},
        {"bytes of another structure", kEchoBytes, sequence(8, "12345678", 8), android::BAD_VALUE},
        {"text without an end", kEchoText, sequence(7, "12345678"), android::BAD_VALUE},
        {"4 GiB of text", kEchoText, sequence(UINT32_MAX, ""), android::BAD_VALUE},
        {"many texts", kEchoTexts, sequence(0x10000001, "12345678"), android::BAD_VALUE},
        {"descriptors that were not sent", kReadFiles, handle(1, 0), android::BAD_VALUE},
        {"a negative count", kReadFiles, handle(-2, 0), android::BAD_VALUE},
        {"a negative count of integers", kReadFiles, handle(0, -1), android::BAD_VALUE},
        {"too many integers", kReadFiles, handle(0, 1 << 30), android::BAD_VALUE},
        {"integers that were not sent", kReadFiles, handle(0, 100), android::NOT_ENOUGH_DATA},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.name);
        EXPECT_TRUE(sendRaw(channel, rawCall(object, one.method, one.write)));
        EXPECT_EQ(statusOfReply(channel), one.status);
    }
    EXPECT_TRUE(sendRaw(channel, rawCall(object + 1000, kMark)));
    EXPECT_EQ(statusOfReply(channel), android::DEAD_OBJECT);
    RawMessage otherInterface = rawCall(object, kMark);
    otherInterface.body[0] = 'X';
    EXPECT_TRUE(sendRaw(channel, otherInterface));
    EXPECT_EQ(statusOfReply(channel), android::BAD_TYPE);
    // An object of another type than the method takes counts as none.
    RawMessage otherType = rawCall(object, kSetCallback, [](Parcel& parcel) { parcel.writeUint32(0); });
    addReference(&otherType, object, kReceiversObject);
    EXPECT_TRUE(sendRaw(channel, otherType));
    EXPECT_EQ(statusOfReply(channel), android::OK);
    EXPECT_EQ(sp<IProbeCallback>(probe_->getCallback()), nullptr);
    EXPECT_TRUE(sendRaw(channel, rawCall(object, kMark)));
    EXPECT_EQ(positionOfReply(channel), 0u);
}

// Bytes in shared memory are read in place: nothing but plain data, and only where it may lie.
TEST_F(HostileTest, BulkDataLiesInItsBlockAndAligned) {
    const unique_fd memory = bulkMemory();
    RawPeer peer;
    peer.hello();
    const int channel = peer.openChannel();
    const struct {
        ProbeMethod method;
        uint32_t place;
        status_t status;
    } kCases[] = {
        {kEchoBytes, 0, android::OK},
        {kEchoBytes, 64, android::OK},
        {kEchoBytes, 65, android::BAD_VALUE},  // a vector of wider numbers would be read astray
        {kEchoBytes, 4096 - 64, android::NOT_ENOUGH_DATA},
        {kEchoBytes, UINT32_MAX - 63, android::NOT_ENOUGH_DATA},
        {kEchoText, 0, android::BAD_VALUE},
    };
    bool given = false;
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.place);
        RawMessage call = rawCall(peer.object(), one.method, [&one](Parcel& parcel) {
            const uint32_t words[4] = {0, 0, 2048, 0};
            size_t handle = 0;
            parcel.writeBuffer(words, sizeof(words), &handle);
            const BufferRecord record{2048, 0, 0, one.place};
            for (uint32_t word : {record.size, record.parent, record.parentOffset, record.place})
                parcel.writeUint32(word);
        });
        call.header.bulkSize = 4096;
        if (!given) {
            call.header.flags = kNewBulkMemory;
            call.fds = {memory.get()};
            EXPECT_TRUE(sendRaw(channel, rawMessage(kDescriptorsFollow)));
        }
        given = true;
        EXPECT_TRUE(sendRaw(channel, call));
        EXPECT_EQ(statusOfReply(channel), one.status);
    }
}

TEST_F(HostileTest, WhoIsSilentOrDoesNotReadStopsNobody) {
    RawPeer silent;
    RawPeer helloOnly;
    helloOnly.hello();
    RawPeer announcing;
    announcing.hello();
    EXPECT_TRUE(sendRaw(announcing.openChannel(), rawMessage(kDescriptorsFollow)));
    EXPECT_EQ(probe_->add(1, 2), 3);
    {
        // Calls of whose replies none is taken: at last there is no room for one.
        RawPeer deaf;
        deaf.hello();
        const int channel = deaf.openChannel();
        const RawMessage call = rawCall(deaf.object(), kEchoText, [](Parcel& parcel) {
            const std::string text(20'000, 't');
            const uint32_t words[4] = {0, 0, static_cast<uint32_t>(text.size()), 0};
            size_t handle = 0;
            parcel.writeBuffer(words, sizeof(words), &handle);
            parcel.writeEmbeddedBuffer(text.c_str(), text.size() + 1, &handle, handle, 0);
        });
        EXPECT_TRUE(eventually([&] { return !sendRaw(channel, call) && errno == EPIPE; }));
        EXPECT_EQ(probe_->add(1, 2), 3);
    }
    {
        // Many channels, one more than a process gets.
        RawPeer greedy;
        greedy.hello();
        for (int i = 0; i < 257; ++i) greedy.openChannel();
        EXPECT_TRUE(closes(greedy.control()));
    }
    {
        // Several calls on a channel whose caller does not wait, and is gone at once.
        RawPeer hasty;
        hasty.hello();
        const int channel = hasty.openChannel();
        for (int i = 0; i < 10; ++i) EXPECT_TRUE(sendRaw(channel, rawCall(hasty.object(), kMark)));
    }
    EXPECT_EQ(probe_->add(1, 2), 3);
    EXPECT_TRUE(eventually([this] { return service_.descriptors() == descriptors_ + 4; }))
        << service_.descriptors() << " descriptors, not " << descriptors_ + 4;
}

// Calls that nest for ever, each made from within the callback of the one before.
TEST_F(HostileTest, NestedCallsHaveALimit) {
    RawPeer peer;
    peer.hello();
    const int channel = peer.openChannel();
    RawMessage set = rawCall(peer.object(), kSetCallback, [](Parcel& parcel) { parcel.writeUint32(0); });
    addReference(&set, 1, kSendersObject);
    EXPECT_TRUE(sendRaw(channel, set));
    std::optional<RawMessage> got = receiveRaw(channel);
    int depth = 0;
    const RawMessage callBack =
        rawCall(peer.object(), kCallBack, [](Parcel& parcel) { parcel.writeInt32(1); });
    do {
        EXPECT_TRUE(sendRaw(channel, callBack));
        got = receiveRaw(channel);
    } while (got && got->header.type == kCall && ++depth < 1000);
    ASSERT_TRUE(got && got->header.type == kReply);
    EXPECT_EQ(static_cast<status_t>(got->header.code), android::FAILED_TRANSACTION);
    EXPECT_GE(depth, 10);
}

// Objects that a peer sends by the thousand, reading nothing of their being given back.
TEST_F(HostileTest, ReferencesThatAPeerDoesNotTakeBackAreNotPiledUp) {
    RawPeer peer;
    peer.hello();
    const int channel = peer.openChannel();
    uint64_t object = 1;
    const auto pass = [&] {
        RawMessage call = rawCall(peer.object(), kMark);
        for (size_t i = 0; i < kMaxObjects; ++i) addReference(&call, object++, kSendersObject);
        return sendRaw(channel, call) && receiveRaw(channel).has_value();
    };
    while (pass() && object < 1'000'000) {
    }
    EXPECT_LT(object, 1'000'000u);
    expectUnharmed();
}

// Random changes of good messages. Bytes that stand for truth values are left out:
// any other value of them is the callee's own undefined behaviour.
TEST_F(HostileTest, RandomDamageHarmsNobody) {
    const uint32_t seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::minstd_rand random(seed);
    const unique_fd null(open("/dev/null", O_RDWR | O_CLOEXEC));
    const auto text = [](Parcel& parcel) {
        const uint32_t words[4] = {0, 0, 8, 1};
        size_t handle = 0;
        parcel.writeBuffer(words, sizeof(words), &handle);
        parcel.writeEmbeddedBuffer("12345678", 9, &handle, handle, 0);
    };
    const auto unharmed = [this] { EXPECT_EQ(probe_->add(1, 2), 3); };
    for (int round = 0; round < 300; ++round) {
        RawPeer peer;
        peer.hello();
        const int channel = peer.openChannel();
        RawMessage calls[] = {rawCall(peer.object(), kEchoText, text),
                              rawCall(peer.object(), kEchoBytes, text),
                              rawCall(peer.object(), kEchoTexts, text),
                              rawCall(peer.object(), kSetCallback, [](Parcel& p) { p.writeUint32(0); }),
                              rawCall(peer.object(), kReadFiles, text)};
        addReference(&calls[3], 1, kSendersObject);
        addReference(&calls[3], peer.object(), kReceiversObject);
        RawMessage call = calls[random() % std::size(calls)];
        for (uint32_t i = random() % 4 + 1; i > 0; --i) {
            const size_t place = random() % (kHeaderSize + call.body.size());
            auto* header = reinterpret_cast<uint8_t*>(&call.header);
            // Another method is another call, and no damage.
            if (place >= offsetof(MessageHeader, code) && place < offsetof(MessageHeader, fdCount)) continue;
            uint8_t& byte = place < kHeaderSize ? header[place] : call.body[place - kHeaderSize];
            byte = static_cast<uint8_t>(random() % 3 == 0 ? byte ^ (1U << random() % 8) : random());
        }
        if (random() % 4 == 0) call.body.resize(random() % (call.body.size() + 1));
        if (random() % 4 == 0) call.fds.push_back(null.get());
        if (random() % 2 == 0) sendRaw(channel, rawMessage(kDescriptorsFollow));
        sendRaw(random() % 4 == 0 ? peer.control() : channel, call);
        unharmed();
    }
    expectUnharmed();
}

TEST_F(HostileTest, AServiceWithoutDescriptorsRefusesAndLives) {
    constexpr size_t kLimit = 48;
    Service service({1, "small", kLimit});
    const sp<IProbe> probe = service.get();
    EXPECT_EQ(probe->add(1, 2), 3);
    {
        std::vector<RawPeer> peers;
        for (size_t i = 0; i < kLimit; ++i) {
            peers.emplace_back("small");
            sendRaw(peers.back().control(), rawMessage(kHello, i + 1, kWireVersion));
        }
        EXPECT_TRUE(closes(peers.back().control()));
        EXPECT_EQ(probe->add(1, 2), 3);
        uint64_t before = 0;
        EXPECT_TRUE(
            eventually([&] { return std::exchange(before, service.switches()) == service.switches(); }));
        EXPECT_EQ(service.switches(), before);
    }
    RawPeer next("small");
    next.hello();
    const int channel = next.openChannel();
    EXPECT_TRUE(sendRaw(channel, rawCall(next.object(), kMark)));
    EXPECT_EQ(positionOfReply(channel), 0u);
}

}  // namespace
}  // namespace hidlaudio::test
