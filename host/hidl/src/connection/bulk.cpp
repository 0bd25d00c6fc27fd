// SPDX-License-Identifier: Apache-2.0
#include "bulk.h"

#include <errno.h>
#include <sys/mman.h>

#include <algorithm>

#include "shared_memory.h"
#include "shortage.h"

namespace android::hardware::transport {
namespace {

constexpr size_t kLargeBlock = 65536;

}  // namespace

BulkMapping::~BulkMapping() {
    munmap(base_, kBulkMemorySize);
}

bool BulkMapping::isSane(int fd) {
    return hasFixedSize(fd, kBulkMemorySize) && isWritable(fd);
}

std::shared_ptr<BulkMapping> BulkMapping::ofPeer(int fd) {
    void* base = mapShared(fd, kBulkMemorySize);
    return base != nullptr ? std::make_shared<BulkMapping>(static_cast<uint8_t*>(base)) : nullptr;
}

std::shared_ptr<BulkMapping> BulkMapping::create(base::unique_fd* fd) {
    void* base = createShared("hidl-bulk", kBulkMemorySize, 0, fd);
    return base != nullptr ? std::make_shared<BulkMapping>(static_cast<uint8_t*>(base)) : nullptr;
}

bool BulkMapping::holds(size_t block, size_t size) {
    return block % kBulkAlignment == 0 && block <= kBulkMemorySize - kBulkAlignment &&
           size <= kBulkMemorySize - kBulkAlignment - block;
}

status_t BulkSender::allocate(size_t size, size_t* block) {
    if (mapping_ == nullptr) {
        mapping_ = BulkMapping::create(&undelivered_);
        if (mapping_ == nullptr) {
            noteShortage("no shared memory for a large message", errno);
            const int shortage = takeShortage();
            return shortage != 0 ? shortage : static_cast<status_t>(NO_MEMORY);
        }
    }
    auto free = [this](const Block& candidate) { return !mapping_->inUse(candidate.begin); };
    blocks_.erase(std::remove_if(blocks_.begin(), blocks_.end(), free), blocks_.end());

    const size_t needed = alignUp(kBulkAlignment + size, kBulkAlignment);
    size_t begin = 0;
    auto next = blocks_.begin();
    if (blocks_.empty() && needed >= kLargeBlock && needed <= kBulkMemorySize) {
        atTop_ = !atTop_;
        if (atTop_) begin = kBulkMemorySize - needed;
    }
    const size_t lowest = blocks_.empty() ? kBulkMemorySize : next->begin;
    if (needed > lowest && !findHighest(needed, &next, &begin)) return FAILED_TRANSACTION;
    blocks_.insert(next, {begin, begin + needed});
    mapping_->claim(begin);
    *block = begin;
    return OK;
}

// Finds the highest free place for a block: above a block at the bottom, it leaves the lower memory in
// one piece for the next block.
bool BulkSender::findHighest(size_t needed, std::vector<Block>::iterator* next, size_t* begin) {
    size_t end = kBulkMemorySize;
    for (*next = blocks_.end(); *next != blocks_.begin(); --*next) {
        const Block& below = *std::prev(*next);
        if (end - below.end >= needed) {
            *begin = end - needed;
            return true;
        }
        end = below.begin;
    }
    return false;
}

void BulkSender::sent(size_t block, bool delivered) {
    if (delivered) {
        undelivered_.reset();
    } else {
        mapping_->giveBack(block);
    }
}

}  // namespace android::hardware::transport
