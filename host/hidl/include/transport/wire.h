// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <atomic>

/**
 * The wire format between two processes of the virtual TV.
 *
 * A *link* joins two processes. Its *control channel* is the connection to the
 * server's listening socket; *call channels* are socket pairs, one for each thread
 * that calls, whose far end is sent through the control channel. All are AF_UNIX
 * SOCK_SEQPACKET: one message is one packet, whole or not at all, and no peer can
 * leave half a message behind. Integers are little-endian.
 *
 *      0       4   5   6       8      12      14      16              24      28      32      36      40
 *     +-------+---+---+-------+-------+-------+-------+---------------+-------+-------+-------+-------+----
 *     | body  |typ|flg|objects| code  |  fds  |process| target object | bulk  | bulk  | room  |   0   | body
 *     | size  |   |   | count |       | count |  or   |               |offset | size  |       |       | ...
 *     +-------+---+---+-------+-------+-------+-------+---------------+-------+-------+-------+-------+----
 *
 * `processor` is the one on which the sender ran: a receiver on another looks for the
 * next message for a while before it sleeps (spin.h). Nothing else depends on it. `room`
 * is what the sender has claimed of the receiver's buffer for this message.
 *
 * The body is followed by `objects count` references of 16 bytes:
 *
 *      0               8      12      16
 *     +---------------+-------+-------+
 *     | object number | owner |   0   |      owner: 1 the sender's object, 2 the receiver's
 *     +---------------+-------+-------+
 *
 * Body of a call: the interface's name as terminated text, then the arguments; of a
 * reply: the callee's status, then the results. Integers are aligned to their size
 * (four bytes at least), text is padded to four. A structure or what it refers to is
 * a record, its data aligned to eight bytes:
 *
 *      0       4       8      12      16
 *     +-------+-------+-------+-------+----------
 *     | size  |parent |parent | place | data ...
 *     |       |       |offset |       |
 *     +-------+-------+-------+-------+----------
 *
 * `parent` is the offset of the parent's data in the body, or kNoParent for a structure
 * that stands alone. Each pointer in the data is zero: the receiver sets its own. `place`
 * is kInline if the data follows, otherwise the offset of the data in the bulk block. An
 * object is its index among the references, kNullObject for none. A native handle is its
 * number of descriptors (-1 for null), of integers, the integers.
 *
 * *Bulk*: vectors of plain numbers beyond kBulkThreshold go through memory that the
 * sender shares, as a block of it; so does a body too large for a packet (kBodyInBulk),
 * which the receiver copies before it looks at it. Everything else lies in packets,
 * so that nothing that is checked can change afterwards. A block starts with a word
 * of 64 bytes' room: 1 while the receiver uses it, 0 again when it is done.
 *
 * *Objects that come home* in a reply must live until it is read, although the sender
 * may give its reference back through the control channel at once: it keeps them until
 * the next packet of the call channel, kReplyRead where there is nothing else to say.
 *
 * *Descriptors* need a slower way to receive. The packet kDescriptorsFollow announces
 * that the next packet of the channel carries some.
 *
 * A receiver that has no descriptor or address space left fails the call that brought them.
 * If it was shared memory, its next packet has kBulkMemoryLost, and the sender makes new;
 * for that of a control channel, which is not always read, it ends the link (kTurnedAway).
 *
 * *The receive buffer* of a process has room for kTransactionLimit bytes (half of them for
 * oneway calls) of all messages to it that are sent and not yet handled. Their sizes are
 * those of the platform (Parcel.h); the smallest are not counted. Nothing lies in that
 * buffer: it is two pages of numbers, which a process shares with its peers by
 * kReceiveSpace. Each link has a slot in both. All totals run from the beginning, modulo
 * 2^32:
 *
 *     claims (the peers write)      books (only the receiver can write)
 *                                  +-------+-------+
 *                                  | slots | look  |
 *                                  | used  |       |
 *     +-------+-------+            +-------+-------+-------+-------+
 *     |claimed|claimed|            |counts |released|released| 0   |
 *     |  all  |oneway |            |0 or 1 |  all   |oneway  |     |
 *     +-------+-------+            +-------+-------+-------+-------+
 *      ...                          ...
 *
 * In flight are `claimed - released` of all slots that count. A sender adds the size to
 * `claimed` of its slot and sends if the sum fits, otherwise it subtracts the size again and
 * the call fails. The receiver adds `room` to `released` when the message is handled. A
 * caller whose claim is refused sends kRefused with the `look` that it read; the receiver then
 * checks the claims (ReceiveSpace::audit).
 */
namespace android::hardware::transport {

constexpr size_t kHeaderSize = 40;

enum MessageType : uint8_t {
    kHello = 1,       // first on a control channel: code = kWireVersion, target = the process
    kNewCallChannel,  // control: one descriptor, the far end of a call channel
    kAcquire,         // control: the sender holds registered object `target`
    kRelease,         // control: the sender gives back `code` references to `target`
    kCall,            // call channel, or control channel with kOneway
    kReply,           // call channel: code = transport status
    kDescriptorsFollow,
    kReplyRead,     // call channel: the reply that brought objects home was read
    kReceiveSpace,  // once a link and direction: two descriptors, books and claims; code = the slot
    kRefused,       // control: a call found no room; code = the look
    kTurnedAway,    // control: the sender ends the connection for a shortage; code = which, a status
};
constexpr uint8_t kLastMessageType = kTurnedAway;

enum MessageFlags : uint8_t {
    kOneway = 1,
    kNewBulkMemory = 2,  // the first descriptor is the sender's shared memory
    kBodyInBulk = 4,
    kBulkMemoryLost = 8,  // the sender could not take the receiver's shared memory
};
constexpr uint8_t kAllMessageFlags = kOneway | kNewBulkMemory | kBodyInBulk | kBulkMemoryLost;

struct MessageHeader {
    uint32_t bodySize;
    uint8_t type;
    uint8_t flags;
    uint16_t objectCount;
    uint32_t code;
    uint16_t fdCount;
    uint16_t processor;
    uint64_t target;
    uint32_t bulkOffset;
    uint32_t bulkSize;
    uint32_t room;
    uint32_t reserved;
};
static_assert(sizeof(MessageHeader) == kHeaderSize);
static_assert(offsetof(MessageHeader, code) == 8 && offsetof(MessageHeader, target) == 16 &&
              offsetof(MessageHeader, bulkOffset) == 24 && offsetof(MessageHeader, room) == 32);

enum ObjectOwner : uint32_t { kSendersObject = 1, kReceiversObject = 2 };

struct ObjectReference {
    uint64_t object;
    uint32_t owner;
    uint32_t reserved;
};
static_assert(sizeof(ObjectReference) == 16);

struct BufferRecord {
    uint32_t size;
    uint32_t parent;
    uint32_t parentOffset;
    uint32_t place;
};
static_assert(sizeof(BufferRecord) == 16);

/** What is counted of the messages in flight: all of them, and the oneway calls among them. */
enum SpaceTotal : size_t { kAllMessages, kOnewayMessages, kSpaceTotals };

constexpr size_t kSpaceSlots = 252;

struct SpaceClaims {
    struct Slot {
        std::atomic<uint32_t> claimed[kSpaceTotals];
    };
    Slot slots[kSpaceSlots];
};

struct SpaceBooks {
    struct Slot {
        std::atomic<uint32_t> counts;
        std::atomic<uint32_t> released[kSpaceTotals];
        uint32_t reserved;
    };
    std::atomic<uint32_t> slotsUsed;
    std::atomic<uint32_t> look;
    Slot slots[kSpaceSlots];
};
static_assert(sizeof(SpaceClaims::Slot) == 8 && sizeof(SpaceBooks::Slot) == 16 &&
              offsetof(SpaceBooks, slots) == 8);

constexpr uint32_t kWireVersion = 2;
constexpr uint32_t kNoParent = 0xffffffff;
constexpr uint32_t kInline = 0xffffffff;
constexpr uint32_t kNullObject = 0xffffffff;

/** A packet, header included: well below the send buffer that any user gets. */
constexpr size_t kMaxPacket = 32 * 1024;
/** Plain data up to here is cheaper in the packet. */
constexpr size_t kBulkThreshold = 4 * 1024;
/** The receive buffer of a process; oneway calls may take half of it. */
constexpr size_t kTransactionLimit = 1024 * 1024 - 2 * 4096;
/** What one message may carry; far above any interface, below the kernel's 253. */
constexpr size_t kMaxDescriptors = 128;
constexpr size_t kMaxObjects = 1024;

/** Messages up to this size are not counted: many of them are still little, and are to be fast. */
constexpr size_t kMaxUncounted = 512;

/**
 * Shared memory of a sender: room for one transaction and what alignment costs, beside
 * the one before, which the receiver may still hold when its reply has come already.
 */
constexpr size_t kBulkMemorySize = 2 * (1024 * 1024 + 64 * 1024);
constexpr size_t kBulkAlignment = 64;

}  // namespace android::hardware::transport
