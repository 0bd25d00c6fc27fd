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

/** Mapping of shared memory for bulk data. Each block starts with a word that marks it as used (wire.h). */
class BulkMapping {
  public:
    /** Returns whether the peer's memory has the expected size, is writable and cannot shrink. */
    static bool isSane(int fd);
    /** Maps the peer's memory. Returns null and sets errno if no address space is left. */
    static std::shared_ptr<BulkMapping> ofPeer(int fd);
    /** Creates memory to share with the peer. Returns null and sets errno on failure. */
    static std::shared_ptr<BulkMapping> create(base::unique_fd* fd);

    explicit BulkMapping(uint8_t* base) : base_(base) {}
    ~BulkMapping();
    BulkMapping(const BulkMapping&) = delete;
    BulkMapping& operator=(const BulkMapping&) = delete;

    /** Returns whether a block with `size` data bytes can begin at the offset `block`. */
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
 * Allocates blocks in the sender's memory. Uses the bottom of the memory if it is free, so that the
 * same pages are reused. Large blocks alternate between the bottom and the top, because it is slow to
 * overwrite data that the receiver's processor has just read. A receiver that manipulates the words can
 * only make the sender reuse a block too early; the sender never reads the data of a block.
 */
class BulkSender {
  public:
    /**
     * Allocates a block for `size` bytes.
     *
     * @return OK; FAILED_TRANSACTION if calls in flight take the space; NO_MEMORY or a negative errno if
     *         the memory cannot be created
     */
    status_t allocate(size_t size, size_t* block);
    uint8_t* blockData(size_t block) { return mapping_->blockData(block); }
    /** Returns the descriptor of the memory until it has been sent to the receiver, then -1. */
    int undelivered() const { return undelivered_.get(); }
    /** Reports whether the message with `block` and the descriptor was sent; otherwise frees the block. */
    void sent(size_t block, bool delivered);

  private:
    struct Block {
        size_t begin;
        size_t end;
    };

    bool findHighest(size_t needed, std::vector<Block>::iterator* next, size_t* begin);

    std::shared_ptr<BulkMapping> mapping_;
    base::unique_fd undelivered_;
    std::vector<Block> blocks_;  // allocated, sorted by address
    bool atTop_ = false;         // whether the last large block was at the top
};

}  // namespace android::hardware::transport
