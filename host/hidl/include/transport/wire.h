// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <atomic>

/**
 * The wire format between two processes of the virtual TV.
 *
 * A *link* connects two processes. Its *control channel* is the connection to the listening socket
 * of the server. *Call channels* are socket pairs, one for each calling thread; the far end is sent
 * through the control channel. All are AF_UNIX SOCK_SEQPACKET sockets: one message is one packet, so
 * there are no partial messages. Integers are little-endian.
 *
 *      0       4   5   6       8      12      14      16              24      28      32      36      40
 *     +-------+---+---+-------+-------+-------+-------+---------------+-------+-------+-------+-------+----
 *     | body  |typ|flg|objects| code  |  fds  |proces-| target object | bulk  | bulk  | room  |   0   | body
 *     | size  |   |   | count |       | count |  sor  |               |offset | size  |       |       | ...
 *     +-------+---+---+-------+-------+-------+-------+---------------+-------+-------+-------+-------+----
 *
 * `processor` is the number of the processor on which the sender ran. A receiver on another
 * processor polls for the next message for a while before it sleeps (spin.h). Nothing else depends
 * on it. `room` is the number of bytes that the sender has claimed in the receiver's buffer for this
 * message; 0 if the message is not counted.
 *
 * The body is followed by `objects count` references of 16 bytes:
 *
 *      0               8      12      16
 *     +---------------+-------+-------+
 *     | object number | owner |   0   |      owner: 1 the sender's object, 2 the receiver's
 *     +---------------+-------+-------+
 *
 * The body of a call is the name of the interface as NUL-terminated text, then the arguments. The
 * body of a reply is the callee's status, then the results. Integers are aligned to their size, but
 * at least to four bytes; text is aligned to four bytes. A structure, and each buffer that it refers
 * to, is a record whose data is aligned to eight bytes:
 *
 *      0       4       8      12      16
 *     +-------+-------+-------+-------+----------
 *     | size  |parent |parent | place | data ...
 *     |       |       |offset |       |
 *     +-------+-------+-------+-------+----------
 *
 * `parent` is the offset of the parent's data in the body, or kNoParent for a structure without a
 * parent. All pointers in the data are zero; the receiver sets its own. `place` is kInline if the
 * data follows, otherwise the offset of the data in the bulk block. An object is written as its index
 * among the references, or kNullObject for null. A native handle is written as its number of
 * descriptors (-1 for null), its number of integers, and the integers.
 *
 * *Bulk data*: vectors of plain numbers larger than kBulkThreshold are sent in a block of memory that
 * the sender shares. So is a body that is too large for a packet (kBodyInBulk); the receiver copies it
 * before it checks it. Everything else is sent in packets, so that the sender cannot change data after
 * it was checked. A block starts with a word, padded to 64 bytes. The sender sets it to 1; the receiver
 * sets it to 0 when it has finished with the block.
 *
 * *Returned objects*: a reply may refer to objects of its receiver. They must live until the reply is
 * read, but the sender could release its references through the control channel at once. It therefore
 * keeps them until the next packet on the call channel. The receiver acknowledges such a reply with
 * kReplyRead.
 *
 * *Descriptors* need a slower system call to receive. On a call channel, the packet
 * kDescriptorsFollow announces that the next packet carries descriptors.
 *
 * If the receiver of a call has no descriptors or address space left, that call fails. If shared
 * memory was lost, the receiver's next packet has the flag kBulkMemoryLost, and the sender creates new
 * memory. If shared memory of a control channel was lost, the receiver ends the link (kTurnedAway): the
 * peer may not read that flag, because a process without a thread pool does not read control channels.
 *
 * *Lanes*: for each packet on a socket, the kernel allocates memory and copies twice. After kLaneCalls
 * calls on a call channel, the side that serves it therefore sends kLane with two descriptors: shared memory
 * of two slots, and a pipe to write to. If the caller can use them, it passes its next call through the
 * lane; only then does the other side use the lane too. A slot holds one packet without descriptors:
 *
 *      0       4              8      12      16
 *     +-------+--------------+-------+-------+------------
 *     | state |packets before| size  |   0   | packet ...      first the caller's slot, then the server's
 *     +-------+--------------+-------+-------+------------
 *
 * `packets before` is the number of packets that the sender has sent on the socket since kLane: the
 * receiver takes those first. The receiver copies the packet before it checks it.
 *
 * The caller's slot is empty or full. The caller uses it for calls outside of a callback, and then writes a
 * byte to the pipe. The server's slot is asleep unless the caller polls it; then the server may change it
 * from empty to full. Everything else is sent through the socket, also the answer to a caller that sleeps,
 * because that must notice the end of the server too.
 *
 * *Receive buffer*: the messages to a process that are sent and not yet handled may take
 * kTransactionLimit bytes together, oneway calls half of it. Their sizes are those of the platform
 * (Parcel.h); messages up to kMaxUncounted bytes are not counted. The buffer holds no data: it is two
 * pages of counters, which a process shares with its peers (kReceiveSpace). Each link has a slot in
 * both pages. All counters are running totals modulo 2^32:
 *
 *     claims (the peers write)      books (only the receiver can write)
 *                                  +-------+-------+
 *                                  | slots |audits |
 *                                  | used  |       |
 *     +-------+-------+            +-------+-------+-------+-------+
 *     |claimed|claimed|            |counts |released|released| 0   |
 *     |  all  |oneway |            |0 or 1 |  all   |oneway  |     |
 *     +-------+-------+            +-------+-------+-------+-------+
 *      ...                          ...
 *
 * The number of bytes in flight is the sum of `claimed - released` over all slots with `counts` = 1. A
 * sender adds the size of a message to `claimed` of its slot. If the sum fits, it sends the message;
 * otherwise it subtracts the size again and the call fails. The receiver adds `room` to `released` when
 * the message is handled. A caller whose claim is refused sends kRefused with the number of audits that it
 * read. The receiver then audits the claims (ReceiveSpace::audit).
 */
namespace android::hardware::transport {

constexpr size_t kHeaderSize = 40;

/** @param alignment a power of two */
constexpr size_t alignUp(size_t value, size_t alignment) {
    return (value + alignment - 1) & ~(alignment - 1);
}

enum MessageType : uint8_t {
    kHello = 1,       // first on a control channel: code = kWireVersion, target = the sender's process name
    kNewCallChannel,  // control: one descriptor, the far end of a call channel
    kAcquire,         // control: the sender takes a reference to the registered object `target`
    kRelease,         // control: the sender releases `code` references to `target`
    kCall,            // call channel, or control channel with kOneway
    kReply,           // call channel: code = transport status
    kDescriptorsFollow,
    kReplyRead,     // call channel: a reply with objects of its receiver was read
    kReceiveSpace,  // once per link and direction: two descriptors, books and claims; code = slot
    kRefused,       // control: a claim was refused; code = `audits`
    kTurnedAway,    // control: the sender ends the link for a shortage; code = that as a status
    kLane,          // call channel, to the caller: two descriptors, memory and pipe
};
constexpr uint8_t kLastMessageType = kLane;

enum MessageFlags : uint8_t {
    kOneway = 1,
    kNewBulkMemory = 2,  // the first descriptor is the sender's shared memory
    kBodyInBulk = 4,
    kBulkMemoryLost = 8,  // the sender of this flag could not receive or map the peer's shared memory
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

/** Returns the header of a message without a body. The sending channel fills in the rest. */
constexpr MessageHeader messageHeader(MessageType type, uint32_t code = 0, uint64_t target = 0) {
    MessageHeader header{};
    header.type = type;
    header.code = code;
    header.target = target;
    return header;
}

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

/** Totals of the messages in flight: all messages, and the oneway calls among them. */
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
    std::atomic<uint32_t> audits;
    Slot slots[kSpaceSlots];
};
static_assert(sizeof(SpaceClaims::Slot) == 8 && sizeof(SpaceBooks::Slot) == 16 &&
              offsetof(SpaceBooks, slots) == 8);

constexpr uint32_t kWireVersion = 3;
constexpr uint32_t kNoParent = 0xffffffff;
constexpr uint32_t kInline = 0xffffffff;
constexpr uint32_t kNullObject = 0xffffffff;

/** Maximum size of a packet with its header; well below the default send buffer of a socket. */
constexpr size_t kMaxPacket = 32 * 1024;
/** A channel gets a lane when it serves this many calls. Programs with a few calls do without. */
constexpr int kLaneCalls = 16;
/** Maximum size of a packet in a lane. */
constexpr size_t kLanePacket = 4096 - 16;

enum LaneSlotState : uint32_t { kSlotEmpty, kSlotFull, kSlotAsleep };

struct LaneSlot {
    std::atomic<uint32_t> state;
    uint32_t sentOnSocket;
    uint32_t size;
    uint32_t reserved;
    uint8_t packet[kLanePacket];
};
static_assert(sizeof(LaneSlot) == 4096 && offsetof(LaneSlot, size) == 8 && offsetof(LaneSlot, packet) == 16);

/** Plain data up to this size is sent in the packet, which is cheaper. */
constexpr size_t kBulkThreshold = 4 * 1024;
/** Size of a process's receive buffer; oneway calls may take half of it. */
constexpr size_t kTransactionLimit = 1024 * 1024 - 2 * 4096;
/** Limits of one message, far above the need of any interface. The kernel allows 253 descriptors. */
constexpr size_t kMaxDescriptors = 128;
constexpr size_t kMaxObjects = 1024;

/** Messages up to this size are not counted in the receive buffer, so that small calls stay fast. */
constexpr size_t kMaxUncounted = 512;

/**
 * Size of a sender's shared memory: two transactions and their alignment. The receiver may still use
 * the previous block when its reply has already arrived.
 */
constexpr size_t kBulkMemorySize = 2 * (1024 * 1024 + 64 * 1024);
constexpr size_t kBulkAlignment = 64;

}  // namespace android::hardware::transport
