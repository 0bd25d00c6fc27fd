// SPDX-License-Identifier: Apache-2.0
#include <hidl/HidlInternal.h>
#include <hwbinder/IBinder.h>
#include <stdlib.h>
#include <string.h>
#include <transport/message.h>

#include "bulk.h"
#include "receive_space.h"

namespace android::hardware::transport {
namespace {

// The thread's cache of buffers. Plain variables, so that buffers can be returned while other
// thread-local objects are being destroyed.
constexpr size_t kStoreSize = 4;
thread_local uint8_t* tStore[kStoreSize];
thread_local size_t tStored = 0;
thread_local bool tStoreClosed = false;

struct StoreCleaner {
    ~StoreCleaner() {
        tStoreClosed = true;
        while (tStored > 0) free(tStore[--tStored]);
    }
};

uint8_t* allocate(size_t size) {
    void* memory = malloc(size);
    if (memory == nullptr) details::logAlwaysFatal("No memory for a message.");
    return static_cast<uint8_t*>(memory);
}

uint8_t* takeFromStore() {
    static thread_local StoreCleaner cleaner;
    (void)cleaner;
    return tStored > 0 ? tStore[--tStored] : allocate(kMaxPacket);
}

}  // namespace

PacketBuffer PacketBuffer::ofSize(size_t capacity) {
    PacketBuffer buffer;
    buffer.capacity_ = capacity > kMaxPacket ? capacity : kMaxPacket;
    buffer.data_ = buffer.capacity_ == kMaxPacket ? takeFromStore() : allocate(buffer.capacity_);
    return buffer;
}

void PacketBuffer::grow(size_t capacity, size_t used) {
    PacketBuffer larger = ofSize(capacity > 2 * capacity_ ? capacity : 2 * capacity_);
    memcpy(larger.data_, data_, used);
    *this = std::move(larger);
}

void PacketBuffer::giveBack() {
    if (capacity_ == kMaxPacket && tStored < kStoreSize && !tStoreClosed) {
        tStore[tStored++] = data_;
    } else {
        free(data_);
    }
}

const uint8_t* BulkView::at(size_t offset, size_t size) const {
    if (offset > size_ || size > size_ - offset) return nullptr;
    if (copy_ != nullptr) return copy_.get() + offset;
    return mapping_ != nullptr ? mapping_->blockData(block_) + skip_ + offset : nullptr;
}

void BulkView::giveBack() {
    mapping_->giveBack(block_);
}

void RoomReleaser::operator()(SpaceShare* share) const {
    share->release(size, oneway);
}

Attachments::~Attachments() {
    for (native_handle_t* handle : handles) {
        native_handle_close(handle);
        native_handle_delete(handle);
    }
}

const native_handle_t* Attachments::createHandle(size_t fdCount, const int* ints, size_t intCount) {
    if (fdCount > fds.size() - fdsTaken) return nullptr;
    native_handle_t* handle = native_handle_create(static_cast<int>(fdCount), static_cast<int>(intCount));
    if (handle == nullptr) return nullptr;
    for (size_t i = 0; i < fdCount; ++i) handle->data[i] = fds[fdsTaken++].release();
    if (intCount > 0) memcpy(handle->data + fdCount, ints, intCount * sizeof(int));
    handles.push_back(handle);
    return handle;
}

}  // namespace android::hardware::transport
