// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

/**
 * The wire format between two processes of the virtual TV.
 *
 * A *link* joins two processes. Its *control channel* is the connection to the
 * server's listening socket; *call channels* are socket pairs, one for each thread
 * that calls, whose far end is sent through the control channel. All are AF_UNIX
 * SOCK_SEQPACKET: one message is one packet, whole or not at all, and no peer can
 * leave half a message behind. Integers are little-endian.
 *
 *      0       4   5   6       8      12      14      16              24      28      32
 *     +-------+---+---+-------+-------+-------+-------+---------------+-------+-------+----
 *     | body  |typ|flg|objects| code  |  fds  |process| target object | bulk  | bulk  | body ...
 *     | size  |   |   | count |       | count |  or   |               |offset | size  |
 *     +-------+---+---+-------+-------+-------+-------+---------------+-------+-------+----
 *
 * `processor` is the one on which the sender ran: a receiver on another looks for the
 * next message for a while before it sleeps (spin.h). Nothing else depends on it.
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
 */
namespace android::hardware::transport {

constexpr size_t kHeaderSize = 32;

enum MessageType : uint8_t {
    kHello = 1,       // first on a control channel: code = kWireVersion, target = the process
    kNewCallChannel,  // control: one descriptor, the far end of a call channel
    kAcquire,         // control: the sender holds registered object `target`
    kRelease,         // control: the sender gives back `code` references to `target`
    kCall,            // call channel, or control channel with kOneway
    kReply,           // call channel: code = transport status
    kDescriptorsFollow,
    kReplyRead,  // call channel: the reply that brought objects home was read
};
constexpr uint8_t kLastMessageType = kReplyRead;

enum MessageFlags : uint8_t {
    kOneway = 1,
    kNewBulkMemory = 2,  // the first descriptor is the sender's shared memory
    kBodyInBulk = 4,
};
constexpr uint8_t kAllMessageFlags = kOneway | kNewBulkMemory | kBodyInBulk;

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
};
static_assert(sizeof(MessageHeader) == kHeaderSize);
static_assert(offsetof(MessageHeader, code) == 8 && offsetof(MessageHeader, target) == 16 &&
              offsetof(MessageHeader, bulkOffset) == 24);

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

constexpr uint32_t kWireVersion = 2;
constexpr uint32_t kNoParent = 0xffffffff;
constexpr uint32_t kInline = 0xffffffff;
constexpr uint32_t kNullObject = 0xffffffff;

/** A packet, header included: well below the send buffer that any user gets. */
constexpr size_t kMaxPacket = 32 * 1024;
/** Plain data up to here is cheaper in the packet. */
constexpr size_t kBulkThreshold = 4 * 1024;
/** The platform's transaction space of a process; a oneway call may take half of it. */
constexpr size_t kTransactionLimit = 1024 * 1024 - 2 * 4096;
/** What one message may carry; far above any interface, below the kernel's 253. */
constexpr size_t kMaxDescriptors = 128;
constexpr size_t kMaxObjects = 1024;

/**
 * Shared memory of a sender: room for one transaction and what alignment costs, beside
 * the one before, which the receiver may still hold when its reply has come already.
 */
constexpr size_t kBulkMemorySize = 2 * (1024 * 1024 + 64 * 1024);
constexpr size_t kBulkAlignment = 64;

}  // namespace android::hardware::transport
