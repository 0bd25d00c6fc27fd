// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stddef.h>
#include <stdint.h>
#include <transport/wire.h>
#include <utils/Errors.h>

#include <atomic>
#include <memory>
#include <vector>

namespace android::hardware::transport {

/** A mapping of shared memory for bulk data, its blocks' words included. */
class BulkMapping {
  public:
    /** Whether memory of the other process is of the agreed size and may not shrink. */
    static bool isSane(int fd);
    /** Maps memory of the other process; null, with errno, if the system gives no address space. */
    static std::shared_ptr<BulkMapping> ofPeer(int fd);
    /** Makes memory of our own to share; null, with errno, if the system gives none. */
    static std::shared_ptr<BulkMapping> create(base::unique_fd* fd);

    explicit BulkMapping(uint8_t* base) : base_(base) {}
    ~BulkMapping();
    BulkMapping(const BulkMapping&) = delete;
    BulkMapping& operator=(const BulkMapping&) = delete;

    /** Whether a block of `size` data bytes can begin at `block`. */
    static bool holds(size_t block, size_t size);

    uint8_t* blockData(size_t block) { return base_ + block + kBulkAlignment; }
    void giveBack(size_t block) { word(block).store(0, std::memory_order_release); }
    void claim(size_t block) { word(block).store(1, std::memory_order_relaxed); }
    bool inUse(size_t block) { return word(block).load(std::memory_order_acquire) != 0; }

  private:
    std::atomic<uint32_t>& word(size_t block) {
        return *reinterpret_cast<std::atomic<uint32_t>*>(base_ + block);
    }

    uint8_t* const base_;
};
static_assert(std::atomic<uint32_t>::is_always_lock_free && sizeof(std::atomic<uint32_t>) == 4,
              "the word is shared between processes");

/**
 * The sender's side: hands out blocks, at the bottom where there is room so that the
 * same pages are used again; large ones in turn at the bottom and at the top, because
 * it is slow to write over what the receiver's processor has just read. What the
 * receiver writes into the words can only make the sender reuse a block early; the
 * bytes in blocks mean nothing to the sender.
 */
class BulkSender {
  public:
    /** A block for `size` bytes. FAILED_TRANSACTION if calls in flight hold the space, or a shortage. */
    status_t allocate(size_t size, size_t* block);
    uint8_t* blockData(size_t block) { return mapping_->blockData(block); }
    /** Descriptor of the memory while the receiver does not have it, else -1. */
    int undelivered() const { return undelivered_.get(); }
    /** The message that refers to `block` has left, and the descriptor with it, or could not. */
    void sent(size_t block, bool delivered);

  private:
    struct Block {
        size_t begin;
        size_t end;
    };

    bool findHighest(size_t needed, std::vector<Block>::iterator* next, size_t* begin);

    std::shared_ptr<BulkMapping> mapping_;
    base::unique_fd undelivered_;
    std::vector<Block> blocks_;  // handed out, by address
    bool atTop_ = false;         // where the last large block was
};

}  // namespace android::hardware::transport
