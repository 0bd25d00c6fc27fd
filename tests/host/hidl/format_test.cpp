// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "raw_peer.h"

namespace hidlaudio::test {
namespace {

using android::BAD_VALUE;
using android::NOT_ENOUGH_DATA;

// Peers that violate the wire format or send wrong content.
class FormatTest : public HostileTest {
  protected:
    struct Case {
        const char* name;
        std::vector<RawMessage> messages;
    };

    const unique_fd null_{open("/dev/null", O_RDWR | O_CLOEXEC)};
    const uint64_t object_ = RawPeer().object();
    const RawMessage call_ = rawCall(object_, kMark);
};

// Returns `message` with one change.
template <typename Change>
RawMessage with(RawMessage message, const Change& change) {
    change(message);
    return message;
}

RawMessage withFds(RawMessage message, std::vector<int> fds, size_t claimed) {
    message.fds = std::move(fds);
    message.header.fdCount = static_cast<uint16_t>(claimed);
    return message;
}

RawMessage referring(RawMessage message, uint64_t object, uint32_t owner, uint32_t reserved = 0) {
    addReference(&message, object, owner, reserved);
    return message;
}

TEST_F(FormatTest, ProtocolErrorOnControlChannelClosesConnection) {
    const int null = null_.get();
    const RawMessage hello = rawMessage(kHello, 77, kWireVersion);
    const RawMessage channel = rawMessage(kNewCallChannel);
    const RawMessage acquire = rawMessage(kAcquire, object_);
    RawMessage note = rawCall(object_, kNote, [](Parcel& parcel) { parcel.writeInt32(1); });
    note.header.flags = kOneway;
    const unique_fd page = sealedMemory(4096);
    const unique_fd unsealed = sealedMemory(4096, 0);
    const unique_fd larger = sealedMemory(8192);
    const int memory = page.get();
    const RawMessage space = rawMessage(kReceiveSpace);
    const RawMessage twoPages = withFds(space, {memory, memory}, 2);
    const Case kCases[] = {
        {"another version", {rawMessage(kHello, 77, kWireVersion + 1)}},
        {"no hello", {note}},
        {"two hellos", {hello, hello}},
        {"type 0", {with(hello, [](auto& m) { m.header.type = 0; })}},
        {"unknown type", {hello, with(hello, [](auto& m) { m.header.type = kLastMessageType + 1; })}},
        {"unknown flag", {with(hello, [](auto& m) { m.header.flags = 0x80; })}},
        {"a body", {hello, with(acquire, [](auto& m) { m.body.resize(m.header.bodySize = 8); })}},
        {"longer", {hello, with(note, [](auto& m) { m.body.push_back(0); })}},
        {"shorter", {hello, with(note, [](auto& m) { m.body.pop_back(); })}},
        {"too large",
         {hello, with(note, [](auto& m) { m.body.resize(m.header.bodySize = 2 * kMaxPacket); })}},
        {"4 GiB", {hello, with(note, [](auto& m) { m.header.bodySize = UINT32_MAX; })}},
        {"a channel without descriptor", {hello, channel}},
        {"a channel that is no socket", {hello, withFds(channel, {null}, 1)}},
        {"two channels in one", {hello, withFds(channel, {null, null}, 2)}},
        {"fewer descriptors", {hello, withFds(note, {null}, 2)}},
        {"more descriptors", {hello, withFds(note, {null}, 0)}},
        {"250 descriptors", {hello, withFds(note, std::vector<int>(250, null), 128)}},
        {"129 descriptors", {hello, withFds(note, std::vector<int>(129, null), 129)}},
        {"a reply", {hello, rawMessage(kReply)}},
        {"a two-way call", {hello, call_}},
        {"an announcement", {hello, rawMessage(kDescriptorsFollow)}},
        {"releases no reference", {hello, rawMessage(kRelease, object_, 0)}},
        {"releases more references than it has", {hello, acquire, rawMessage(kRelease, object_, 2)}},
        {"fewer objects", {hello, with(note, [](auto& m) { m.header.objectCount = 9; })}},
        {"unknown object of the receiver", {hello, referring(note, 999, kReceiversObject)}},
        {"unknown owner", {hello, referring(note, 1, 3)}},
        {"reserved field of a reference not zero", {hello, referring(note, 1, kSendersObject, 1)}},
        {"room beyond the limit", {with(hello, [](auto& m) { m.header.room = kTransactionLimit + 1; })}},
        {"reserved field of the header not zero", {with(hello, [](auto& m) { m.header.reserved = 1; })}},
        {"receive buffer without memory", {hello, space}},
        {"receive buffer of one page", {hello, withFds(space, {memory}, 1)}},
        {"receive buffer of three", {hello, withFds(space, {memory, memory, memory}, 3)}},
        {"receive buffer on a device", {hello, withFds(space, {memory, null}, 2)}},
        {"receive buffer that may shrink", {hello, withFds(space, {memory, unsealed.get()}, 2)}},
        {"receive buffer too large", {hello, withFds(space, {memory, larger.get()}, 2)}},
        {"receive buffer with an unknown slot",
         {hello, with(twoPages, [](auto& m) { m.header.code = kSpaceSlots; })}},
        {"receive buffer twice", {hello, twoPages, twoPages}},
        {"bulk without memory", {hello, with(note, [](auto& m) { m.header.bulkSize = 64; })}},
    };
    for (const Case& one : kCases) {
        SCOPED_TRACE(one.name);
        // The emulator keeps descriptors that exceed the receiver's buffer open; a kernel closes them.
        if (HIDLAUDIO_EMULATED && one.messages.back().fds.size() > kMaxDescriptors) continue;
        {
            RawPeer peer;
            for (const RawMessage& message : one.messages) EXPECT_TRUE(sendRaw(peer.control(), message));
            EXPECT_TRUE(closes(peer.control()));
        }
        expectUnharmed();
    }
    for (const size_t size : {0u, 1u, 31u, 200u}) {
        RawPeer peer;
        EXPECT_TRUE(sendRaw(peer.control(), std::string(size, '\x7f').data(), size));
        EXPECT_TRUE(closes(peer.control()));
    }
    expectUnharmed();
}

TEST_F(FormatTest, ProtocolErrorOnCallChannelClosesConnection) {
    const RawMessage announcement = rawMessage(kDescriptorsFollow);
    const unique_fd memory = sealedMemory(kBulkMemorySize);
    const unique_fd unsealed = sealedMemory(kBulkMemorySize, 0);
    const unique_fd shorter = sealedMemory(4096);
    const unique_fd readOnly = sealedMemory(kBulkMemorySize, F_SEAL_SHRINK | F_SEAL_FUTURE_WRITE);
    const auto giving = [this](const unique_fd& given) {
        RawMessage message = withFds(call_, {given.get()}, 0);
        message.header.flags = kNewBulkMemory;
        return message;
    };
    const auto block = [&](uint32_t offset, uint32_t size) {
        RawMessage message = giving(memory);
        message.header.bulkOffset = offset;
        message.header.bulkSize = size;
        return message;
    };
    const auto bodyInBlock = [&](uint32_t size, uint32_t bodySize) {
        RawMessage message = block(0, size);
        message.header.flags |= kBodyInBulk;
        message.header.bodySize = bodySize;
        message.body.clear();
        return message;
    };
    const Case kCases[] = {
        {"a reply without a call", {rawMessage(kReply)}},
        {"a reply after the reply", {call_, rawMessage(kReply)}},
        {"hello", {rawMessage(kHello, 1, kWireVersion)}},
        {"a receive buffer", {rawMessage(kReceiveSpace)}},
        {"a refusal", {rawMessage(kRefused)}},
        {"oneway", {with(call_, [](auto& m) { m.header.flags = kOneway; })}},
        {"kReplyRead without a reply", {rawMessage(kReplyRead)}},
        {"two announcements", {announcement, announcement}},
        {"descriptors without announcement", {withFds(call_, {memory.get()}, 1)}},
        {"announcement without descriptors", {announcement, withFds(call_, {}, 1)}},
        {"memory without descriptor", {with(call_, [](auto& m) { m.header.flags = kNewBulkMemory; })}},
        {"memory that may shrink", {announcement, giving(unsealed)}},
        {"memory too short", {announcement, giving(shorter)}},
        {"memory sealed against writing", {announcement, giving(readOnly)}},
        {"no memory at all", {announcement, giving(null_)}},
        {"memory twice", {announcement, giving(memory), announcement, giving(memory)}},
        {"a block between blocks", {announcement, block(1, 64)}},
        {"a block beyond the memory", {announcement, block(kBulkMemorySize, 64)}},
        {"a block that wraps round", {announcement, block(UINT32_MAX - 63, 128)}},
        {"a block that ends beyond", {announcement, block(0, kBulkMemorySize)}},
        {"a body in no block", {with(call_, [](auto& m) { m.header.flags = kBodyInBulk; })}},
        {"a body beyond its block", {announcement, bodyInBlock(64, 65)}},
        {"a body beyond the limit", {announcement, bodyInBlock(kBulkMemorySize - 64, kTransactionLimit + 1)}},
        {"unknown object of the receiver", {referring(call_, 999, kReceiversObject)}},
    };
    for (const Case& one : kCases) {
        SCOPED_TRACE(one.name);
        {
            RawClient peer;
            for (const RawMessage& message : one.messages) {
                EXPECT_TRUE(sendRaw(peer.channel, message));
                if (message.header.type != kCall || &message == &one.messages.back()) continue;
                EXPECT_EQ(statusOfReply(peer.channel), android::OK);
            }
            EXPECT_TRUE(closes(peer.channel));
            EXPECT_TRUE(closes(peer.control()));
        }
        expectUnharmed();
    }
}

// The messages are well-formed, so that the connection stays open.
TEST_F(FormatTest, WrongContentOfACallFailsOnlyThatCall) {
    const auto integers = [](const std::vector<int32_t>& values) {
        return [=](Parcel& parcel) {
            for (int32_t value : values) parcel.writeInt32(value);
        };
    };
    const auto count = [](uint64_t objects) { return [=](Parcel& parcel) { parcel.writeUint64(objects); }; };
    const auto handle = [](int32_t fds, int32_t ints) {
        return [=](Parcel& parcel) {
            const uint64_t files[4] = {};
            size_t ignored = 0;
            parcel.writeBuffer(files, sizeof(files), &ignored);
            parcel.writeInt32(fds);
            parcel.writeInt32(ints);
        };
    };
    RawMessage otherInterface = call_;
    otherInterface.body[0] = 'X';
    // An object of a type other than the parameter's is read as null.
    const RawMessage otherType =
        referring(rawCall(object_, kSetCallback, integers({0})), object_, kReceiversObject);
    const struct {
        const char* name;
        RawMessage call;
        status_t status;
    } kCases[] = {
        {"unknown method", rawCall(object_, 4711), android::UNKNOWN_TRANSACTION},
        {"unknown object", rawCall(object_ + 1000, kMark), android::DEAD_OBJECT},
        {"more objects than the message can hold", rawCall(object_, kPassCallbacks, count(1 << 28)),
         NOT_ENOUGH_DATA},
        {"the largest number of objects", rawCall(object_, kPassCallbacks, count(UINT64_MAX)),
         NOT_ENOUGH_DATA},
        {"another interface", otherInterface, android::BAD_TYPE},
        {"another type", otherType, android::OK},
        {"no arguments", rawCall(object_, kAdd), NOT_ENOUGH_DATA},
        {"no text", rawCall(object_, kEchoText), BAD_VALUE},
        {"no bytes", rawCall(object_, kEchoBytes), BAD_VALUE},
        {"no interface", rawCall(object_, kSetCallback), android::BAD_TYPE},
        {"half of the arguments", rawCall(object_, kAdd, integers({1})), NOT_ENOUGH_DATA},
        {"a oneway method", rawCall(object_, kNote, integers({1, -1})), android::UNKNOWN_ERROR},
        {"an object that is not sent", rawCall(object_, kSetCallback, integers({5})), BAD_VALUE},
        {"fewer bytes", rawCall(object_, kEchoBytes, sequence(9, "12345678")), BAD_VALUE},
        {"more bytes", rawCall(object_, kEchoBytes, sequence(7, "12345678")), BAD_VALUE},
        {"4 GiB", rawCall(object_, kEchoBytes, sequence(UINT32_MAX, "12345678")), BAD_VALUE},
        {"wrong offset in the parent", rawCall(object_, kEchoBytes, sequence(8, "12345678", 8)), BAD_VALUE},
        {"text without NUL", rawCall(object_, kEchoText, sequence(7, "12345678")), BAD_VALUE},
        {"4 GiB of text", rawCall(object_, kEchoText, sequence(UINT32_MAX, "")), BAD_VALUE},
        {"many texts", rawCall(object_, kEchoTexts, sequence(0x10000001, "12345678")), BAD_VALUE},
        {"descriptors not sent", rawCall(object_, kReadFiles, handle(1, 0)), BAD_VALUE},
        {"negative descriptors", rawCall(object_, kReadFiles, handle(-2, 0)), BAD_VALUE},
        {"negative integers", rawCall(object_, kReadFiles, handle(0, -1)), BAD_VALUE},
        {"many integers", rawCall(object_, kReadFiles, handle(0, 1 << 30)), BAD_VALUE},
        {"integers not sent", rawCall(object_, kReadFiles, handle(0, 100)), NOT_ENOUGH_DATA},
        {"nothing wrong", call_, android::OK},
    };
    RawClient peer;
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.name);
        EXPECT_TRUE(sendRaw(peer.channel, one.call));
        EXPECT_EQ(statusOfReply(peer.channel), one.status);
    }
    EXPECT_EQ(sp<IProbeCallback>(probe_->getCallback()), nullptr);
}

// Data in shared memory is read in place.
TEST_F(FormatTest, BulkDataMustBePlainAlignedAndInsideItsBlock) {
    const unique_fd memory = sealedMemory(kBulkMemorySize);
    const struct {
        ProbeMethod method;
        uint32_t place;
        status_t status;
    } kCases[] = {
        {kEchoBytes, 0, android::OK},       {kEchoBytes, 64, android::OK},
        {kEchoBytes, 65, BAD_VALUE},  // misaligned for wider numbers
        {kEchoBytes, 4096 - 64, BAD_VALUE}, {kEchoBytes, UINT32_MAX - 63, BAD_VALUE},
        {kEchoText, 0, BAD_VALUE},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.place);
        RawClient peer;
        RawMessage call = rawCall(object_, one.method, [&one](Parcel& parcel) {
            const uint32_t structure[4] = {0, 0, 2048, 0};
            size_t handle = 0;
            parcel.writeBuffer(structure, sizeof(structure), &handle);
            for (uint32_t word : {2048u, static_cast<uint32_t>(handle), 0u, one.place})
                parcel.writeUint32(word);
        });
        call.header.bulkSize = 4096;
        call.header.flags = kNewBulkMemory;
        call.fds = {memory.get()};
        EXPECT_TRUE(sendRaw(peer.channel, rawMessage(kDescriptorsFollow)));
        EXPECT_TRUE(sendRaw(peer.channel, call));
        EXPECT_EQ(statusOfReply(peer.channel), one.status);
    }
}

}  // namespace
}  // namespace hidlaudio::test
