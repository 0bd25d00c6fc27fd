// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <cutils/native_handle.h>
#include <hwbinder/IBinder.h>
#include <stddef.h>
#include <stdint.h>
#include <transport/wire.h>
#include <utils/StrongPointer.h>

#include <array>
#include <memory>
#include <utility>
#include <vector>

namespace android::hardware::transport {

class BulkMapping;
class SpaceShare;

/**
 * Memory for one packet or body. Buffers of packet size are taken from a small cache of the thread and
 * returned to it, so that most calls allocate no memory.
 */
class PacketBuffer {
  public:
    PacketBuffer() = default;
    PacketBuffer(PacketBuffer&& other) noexcept { *this = std::move(other); }
    PacketBuffer& operator=(PacketBuffer&& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(capacity_, other.capacity_);
        return *this;
    }
    ~PacketBuffer() {
        if (data_ != nullptr) giveBack();
    }

    /** Returns an uninitialized buffer of at least `capacity` bytes, aligned to eight bytes. */
    static PacketBuffer ofSize(size_t capacity);
    /** Grows the buffer to at least `capacity` bytes and keeps the first `used` bytes. */
    void grow(size_t capacity, size_t used);

    uint8_t* data() { return data_; }
    const uint8_t* data() const { return data_; }
    size_t capacity() const { return capacity_; }

  private:
    void giveBack();

    uint8_t* data_ = nullptr;
    size_t capacity_ = 0;
};

/** Copies `size` bytes of `data` to `target`. */
using CopyBulk = void (*)(const void* data, uint8_t* target, size_t size);

/** A message being written. The first kHeaderSize bytes of `buffer` are reserved for the header. */
struct OutgoingBody {
    /** Plain data that is copied when the message is sent. */
    struct BulkPiece {
        const void* data;
        size_t size;
        size_t offset;
        CopyBulk copy;

        /** Copies the data to its place in a block. */
        void copyTo(uint8_t* block) const { copy(data, block + offset, size); }
    };

    static constexpr size_t kMaxBulkPieces = 4;

    PacketBuffer buffer;
    size_t bodySize = 0;
    size_t bulkSize = 0;
    size_t weight = 0;  // size of the same parcel on the platform (Parcel.h), before rounding
    bool tooLarge = false;
    std::array<BulkPiece, kMaxBulkPieces> bulk;  // the first bulkCount are in use
    size_t bulkCount = 0;
    std::vector<sp<IBinder>> objects;
    std::vector<int> fds;  // owned by the native handles that were written

    const uint8_t* body() const { return buffer.data() + kHeaderSize; }
    /** Returns how many bytes of the receiver's receive buffer the message takes. */
    size_t transactionSize() const { return alignUp(weight, 8); }
};

/** View of a block in the peer's shared memory, or a private copy. The destructor frees the block. */
class BulkView {
  public:
    BulkView() = default;
    /**
     * @param block offset of the block in the mapping
     * @param skip  offset of the view in the block's data
     * @param size  size of the view in bytes
     */
    BulkView(std::shared_ptr<BulkMapping> mapping, size_t block, size_t skip, size_t size)
        : mapping_(std::move(mapping)), block_(block), skip_(skip), size_(size) {}
    BulkView(std::unique_ptr<uint8_t[]> copy, size_t size) : copy_(std::move(copy)), size_(size) {}
    BulkView(BulkView&& other) noexcept { *this = std::move(other); }
    BulkView& operator=(BulkView&& other) noexcept {
        std::swap(mapping_, other.mapping_);
        std::swap(copy_, other.copy_);
        std::swap(block_, other.block_);
        std::swap(skip_, other.skip_);
        std::swap(size_, other.size_);
        return *this;
    }
    ~BulkView() {
        if (mapping_ != nullptr) giveBack();
    }

    /** Returns the data at `offset`, or `nullptr` if [offset, offset + size) exceeds the view. */
    const uint8_t* at(size_t offset, size_t size) const;

  private:
    void giveBack();

    std::shared_ptr<BulkMapping> mapping_;
    std::unique_ptr<uint8_t[]> copy_;
    size_t block_ = 0;
    size_t skip_ = 0;
    size_t size_ = 0;
};

/** Deleter of Room. */
struct RoomReleaser {
    uint32_t size = 0;
    bool oneway = false;

    void operator()(SpaceShare* share) const;
};
/** Room that a received message takes in the process's receive buffer. The destructor releases it. */
using Room = std::unique_ptr<SpaceShare, RoomReleaser>;

/** Object references and descriptors of a message. Most messages have none. */
struct Attachments {
    std::vector<ObjectReference> references;
    std::vector<sp<IBinder>> objects;  // one per reference, filled by PeerConnection::resolve()
    std::vector<base::unique_fd> fds;
    size_t fdsTaken = 0;
    std::vector<native_handle_t*> handles;

    Attachments() = default;
    ~Attachments();
    Attachments(const Attachments&) = delete;
    Attachments& operator=(const Attachments&) = delete;

    /**
     * Returns a handle of the next `fdCount` descriptors and of `ints`, owned by this object. Returns
     * `nullptr` if fewer descriptors are left.
     */
    const native_handle_t* createHandle(size_t fdCount, const int* ints, size_t intCount);
};

/** A received message whose layout has been checked. */
struct IncomingMessage {
    MessageHeader header{};
    PacketBuffer buffer;
    const uint8_t* body = nullptr;
    size_t bodySize = 0;
    BulkView bulk;
    bool incomplete = false;  // this process had no descriptors or address space left for the rest of it
    Room room;
    std::unique_ptr<Attachments> attachments;

    Attachments& attach() {
        if (attachments == nullptr) attachments = std::make_unique<Attachments>();
        return *attachments;
    }
    size_t fdCount() const { return attachments != nullptr ? attachments->fds.size() : 0; }
};

}  // namespace android::hardware::transport
