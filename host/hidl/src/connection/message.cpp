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

// The thread's store. Plain variables, so that buffers may be given back while the
// thread's other objects are being destroyed.
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
    buffer.mCapacity = capacity > kMaxPacket ? capacity : kMaxPacket;
    buffer.mData = buffer.mCapacity == kMaxPacket ? takeFromStore() : allocate(buffer.mCapacity);
    return buffer;
}

void PacketBuffer::grow(size_t capacity, size_t used) {
    PacketBuffer larger = ofSize(capacity > 2 * mCapacity ? capacity : 2 * mCapacity);
    memcpy(larger.mData, mData, used);
    *this = std::move(larger);
}

void PacketBuffer::giveBack() {
    if (mCapacity == kMaxPacket && tStored < kStoreSize && !tStoreClosed) {
        tStore[tStored++] = mData;
    } else {
        free(mData);
    }
}

const uint8_t* BulkView::at(size_t offset, size_t size) const {
    if (mMapping == nullptr || offset > mSize || size > mSize - offset) return nullptr;
    return mMapping->blockData(mBlock) + mSkip + offset;
}

void BulkView::giveBack() {
    mMapping->giveBack(mBlock);
}

void Room::release() {
    mShare->release(mSize, mOneway);
}

Attachments::~Attachments() {
    for (native_handle_t* handle : handles) {
        native_handle_close(handle);
        native_handle_delete(handle);
    }
}

const native_handle_t* Attachments::takeHandle(size_t fdCount, const int* ints, size_t intCount) {
    if (fdCount > fds.size() - fdsTaken) return nullptr;
    native_handle_t* handle = native_handle_create(static_cast<int>(fdCount), static_cast<int>(intCount));
    if (handle == nullptr) return nullptr;
    for (size_t i = 0; i < fdCount; ++i) handle->data[i] = fds[fdsTaken++].release();
    if (intCount > 0) memcpy(handle->data + fdCount, ints, intCount * sizeof(int));
    handles.push_back(handle);
    return handle;
}

}  // namespace android::hardware::transport
