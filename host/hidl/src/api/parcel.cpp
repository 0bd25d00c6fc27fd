// SPDX-License-Identifier: Apache-2.0
#include <hidl/HidlInternal.h>
#include <hwbinder/Parcel.h>
#include <string.h>

#include <limits>

namespace android::hardware {

using transport::BufferRecord;
using transport::kBulkAlignment;
using transport::kBulkThreshold;
using transport::kHeaderSize;
using transport::kInline;
using transport::kMaxDescriptors;
using transport::kMaxObjects;
using transport::kMaxPacket;
using transport::kNoParent;
using transport::kNullObject;
using transport::kTransactionLimit;
using transport::OutgoingBody;
using transport::PacketBuffer;

namespace {

constexpr size_t kWordSize = 4;
constexpr size_t kRecordDataAlignment = 8;
constexpr size_t kPointerSize = sizeof(details::hidl_pointer<char>);

constexpr size_t alignUp(size_t value, size_t alignment) {
    return (value + alignment - 1) & ~(alignment - 1);
}

// Bytes that parts of a parcel take on the platform; see Parcel.
constexpr size_t kBufferObject = 40;
constexpr size_t kInterfaceObject = 24;
constexpr size_t kDescriptorArrayObject = 32;
constexpr size_t kObjectEntry = 8;
constexpr size_t kBufferAlignment = 8;

template <typename T>
constexpr size_t alignmentOf() {
    return sizeof(T) < kWordSize ? kWordSize : sizeof(T);
}

}  // namespace

Parcel::Parcel() = default;
Parcel::~Parcel() = default;

void Parcel::startReading() {
    mPosition = 0;
}

// Room for `size` bytes at the next aligned place, null once the parcel is too large.
uint8_t* Parcel::reserve(size_t size, size_t alignment) {
    const size_t start = alignUp(mOut.bodySize, alignment);
    if (mOut.tooLarge || size > kTransactionLimit || start + size > kTransactionLimit) {
        mOut.tooLarge = true;
        return nullptr;
    }
    const size_t needed = kHeaderSize + start + size;
    if (mOut.buffer.capacity() == 0) {
        mOut.buffer = PacketBuffer::ofSize(needed > kMaxPacket ? needed : kMaxPacket);
    } else if (needed > mOut.buffer.capacity()) {
        mOut.buffer.grow(needed, kHeaderSize + mOut.bodySize);
    }
    uint8_t* body = mOut.buffer.data() + kHeaderSize;
    if (start != mOut.bodySize) memset(body + mOut.bodySize, 0, start - mOut.bodySize);
    mOut.bodySize = start + size;
    return body + start;
}

const uint8_t* Parcel::take(size_t size, size_t alignment) const {
    const size_t start = alignUp(mPosition, alignment);
    if (start > mIn.bodySize || size > mIn.bodySize - start) return nullptr;
    mPosition = start + size;
    return mIn.body + start;
}

void Parcel::weighBuffer(size_t size) {
    mOut.weight += kBufferObject + kObjectEntry + alignUp(size, kBufferAlignment);
}

template <typename T>
status_t Parcel::writePrimitive(T value) {
    mOut.weight += alignUp(sizeof(T), kWordSize);
    return put(value);
}

template <typename T>
status_t Parcel::put(T value) {
    uint8_t* place = reserve(sizeof(T), alignmentOf<T>());
    if (place == nullptr) return FAILED_TRANSACTION;
    memcpy(place, &value, sizeof(T));
    return OK;
}

template <typename T>
status_t Parcel::readPrimitive(T* value) const {
    const uint8_t* place = take(sizeof(T), alignmentOf<T>());
    if (place == nullptr) return NOT_ENOUGH_DATA;
    memcpy(value, place, sizeof(T));
    return OK;
}

status_t Parcel::writeInt8(int8_t value) {
    return writePrimitive(value);
}
status_t Parcel::writeUint8(uint8_t value) {
    return writePrimitive(value);
}
status_t Parcel::writeInt16(int16_t value) {
    return writePrimitive(value);
}
status_t Parcel::writeUint16(uint16_t value) {
    return writePrimitive(value);
}
status_t Parcel::writeInt32(int32_t value) {
    return writePrimitive(value);
}
status_t Parcel::writeUint32(uint32_t value) {
    return writePrimitive(value);
}
status_t Parcel::writeInt64(int64_t value) {
    return writePrimitive(value);
}
status_t Parcel::writeUint64(uint64_t value) {
    return writePrimitive(value);
}
status_t Parcel::writeFloat(float value) {
    return writePrimitive(value);
}
status_t Parcel::writeDouble(double value) {
    return writePrimitive(value);
}
status_t Parcel::writeBool(bool value) {
    return writePrimitive(static_cast<uint8_t>(value ? 1 : 0));
}

status_t Parcel::readInt8(int8_t* value) const {
    return readPrimitive(value);
}
status_t Parcel::readUint8(uint8_t* value) const {
    return readPrimitive(value);
}
status_t Parcel::readInt16(int16_t* value) const {
    return readPrimitive(value);
}
status_t Parcel::readUint16(uint16_t* value) const {
    return readPrimitive(value);
}
status_t Parcel::readInt32(int32_t* value) const {
    return readPrimitive(value);
}
status_t Parcel::readUint32(uint32_t* value) const {
    return readPrimitive(value);
}
status_t Parcel::readInt64(int64_t* value) const {
    return readPrimitive(value);
}
status_t Parcel::readUint64(uint64_t* value) const {
    return readPrimitive(value);
}
status_t Parcel::readCount(uint64_t* count) const {
    const status_t status = readPrimitive(count);
    if (status != OK) return status;
    return *count <= (mIn.bodySize - mPosition) / kWordSize ? static_cast<status_t>(OK)
                                                            : static_cast<status_t>(NOT_ENOUGH_DATA);
}
status_t Parcel::readFloat(float* value) const {
    return readPrimitive(value);
}
status_t Parcel::readDouble(double* value) const {
    return readPrimitive(value);
}

status_t Parcel::readBool(bool* value) const {
    uint8_t byte = 0;
    status_t status = readPrimitive(&byte);
    *value = byte != 0;
    return status;
}

status_t Parcel::writeCString(const char* text) {
    const size_t size = strlen(text) + 1;
    mOut.weight += alignUp(size, kWordSize);
    uint8_t* place = reserve(size, kWordSize);
    if (place == nullptr) return FAILED_TRANSACTION;
    memcpy(place, text, size);
    return OK;
}

const char* Parcel::readCString() const {
    const size_t start = alignUp(mPosition, kWordSize);
    if (start >= mIn.bodySize) return nullptr;
    const char* text = reinterpret_cast<const char*>(mIn.body) + start;
    const size_t length = strnlen(text, mIn.bodySize - start);
    if (length == mIn.bodySize - start) return nullptr;
    mPosition = start + length + 1;
    return text;
}

status_t Parcel::writeInterfaceToken(const char* interface) {
    return writeCString(interface);
}

bool Parcel::enforceInterface(const char* interface) const {
    const char* token = readCString();
    return token != nullptr && strcmp(token, interface) == 0;
}

status_t Parcel::writeRecord(const void* data, size_t size, uint32_t parent, uint32_t parentOffset,
                             size_t* handle, bool plain) {
    const bool bulk = plain && size > kBulkThreshold && mOut.bulkCount < OutgoingBody::kMaxBulkPieces;
    if (size > kTransactionLimit) mOut.tooLarge = true;
    weighBuffer(size);
    uint8_t* place = reserve(sizeof(BufferRecord), kWordSize);
    if (place == nullptr) return FAILED_TRANSACTION;
    BufferRecord record{static_cast<uint32_t>(size), parent, parentOffset, kInline};
    if (bulk) {
        const size_t offset = alignUp(mOut.bulkSize, kBulkAlignment);
        record.place = static_cast<uint32_t>(offset);
        mOut.bulk[mOut.bulkCount++] = {data, size, offset};
        mOut.bulkSize = offset + size;
    }
    memcpy(place, &record, sizeof(record));
    if (!bulk) {
        place = reserve(size, kRecordDataAlignment);
        if (place == nullptr) return FAILED_TRANSACTION;
        if (size > 0) memcpy(place, data, size);
    }
    *handle = mOut.bodySize - (bulk ? 0 : size);
    return OK;
}

// Clears the pointer at `offset` of the structure `parent`. The receiver sets its own pointers;
// addresses of this process must not leave it.
status_t Parcel::clearPointer(size_t parent, size_t offset) {
    if (mOut.tooLarge) return FAILED_TRANSACTION;
    if (parent > mOut.bodySize || offset > mOut.bodySize - parent) return BAD_VALUE;
    if (mOut.bodySize - parent - offset < kPointerSize) return BAD_VALUE;
    memset(mOut.buffer.data() + kHeaderSize + parent + offset, 0, kPointerSize);
    return OK;
}

status_t Parcel::readRecord(size_t size, uint32_t parent, uint32_t parentOffset, size_t* handle,
                            const void** data, bool plain) const {
    const uint8_t* place = take(sizeof(BufferRecord), kWordSize);
    if (place == nullptr) return BAD_VALUE;
    BufferRecord record;
    memcpy(&record, place, sizeof(record));
    if (record.size != size || record.parent != parent || record.parentOffset != parentOffset)
        return BAD_VALUE;
    if (record.place != kInline && (!plain || record.place % kBulkAlignment != 0)) return BAD_VALUE;
    *data = record.place == kInline ? take(size, kRecordDataAlignment) : mIn.bulk.at(record.place, size);
    if (*data == nullptr) return BAD_VALUE;
    *handle = mPosition - (record.place == kInline ? size : 0);
    return OK;
}

status_t Parcel::writeBuffer(const void* data, size_t size, size_t* handle) {
    return writeRecord(data, size, kNoParent, 0, handle, false);
}

status_t Parcel::writeEmbeddedBuffer(const void* data, size_t size, size_t* handle, size_t parent,
                                     size_t parentOffset, bool plain) {
    const status_t status = clearPointer(parent, parentOffset);
    if (status != OK) return status;
    return writeRecord(data, size, static_cast<uint32_t>(parent), static_cast<uint32_t>(parentOffset), handle,
                       plain);
}

status_t Parcel::readBuffer(size_t size, size_t* handle, const void** data) const {
    return readRecord(size, kNoParent, 0, handle, data, false);
}

status_t Parcel::readEmbeddedBuffer(size_t size, size_t* handle, size_t parent, size_t parentOffset,
                                    const void** data, bool plain) const {
    return readRecord(size, static_cast<uint32_t>(parent), static_cast<uint32_t>(parentOffset), handle, data,
                      plain);
}

status_t Parcel::writeStrongBinder(const sp<IBinder>& binder) {
    mOut.weight += kInterfaceObject + (binder != nullptr ? kObjectEntry : 0);
    if (binder == nullptr) return put(kNullObject);
    if (mOut.objects.size() >= kMaxObjects) {
        mOut.tooLarge = true;
        return FAILED_TRANSACTION;
    }
    mOut.objects.push_back(binder);
    return put(static_cast<uint32_t>(mOut.objects.size() - 1));
}

status_t Parcel::readNullableStrongBinder(sp<IBinder>* binder) const {
    uint32_t index = 0;
    if (readUint32(&index) != OK) return BAD_TYPE;
    if (index == kNullObject) {
        *binder = nullptr;
        return OK;
    }
    if (mIn.attachments == nullptr || index >= mIn.attachments->objects.size()) return BAD_VALUE;
    *binder = mIn.attachments->objects[index];
    return OK;
}

status_t Parcel::readStrongBinder(sp<IBinder>* binder) const {
    status_t status = readNullableStrongBinder(binder);
    return status == OK && *binder == nullptr ? static_cast<status_t>(UNEXPECTED_NULL) : status;
}

status_t Parcel::writeNativeHandleNoDup(const native_handle_t* handle) {
    mOut.weight += sizeof(uint64_t);  // the handle's size
    if (handle == nullptr) return put(int32_t{-1});
    if (handle->numFds < 0 || handle->numInts < 0 || handle->numInts > NATIVE_HANDLE_MAX_INTS)
        return BAD_VALUE;
    const auto fdCount = static_cast<size_t>(handle->numFds);
    if (fdCount > kMaxDescriptors - mOut.fds.size()) {
        mOut.tooLarge = true;
        return FAILED_TRANSACTION;
    }
    const size_t intBytes = static_cast<size_t>(handle->numInts) * sizeof(int);
    weighBuffer(sizeof(native_handle_t) + fdCount * sizeof(int) + intBytes);
    mOut.weight += kDescriptorArrayObject + kObjectEntry;
    status_t status = put(int32_t{handle->numFds});
    if (status == OK) status = put(int32_t{handle->numInts});
    if (status != OK) return status;
    uint8_t* place = reserve(intBytes, kWordSize);
    if (place == nullptr) return FAILED_TRANSACTION;
    memcpy(place, handle->data + fdCount, intBytes);
    mOut.fds.insert(mOut.fds.end(), handle->data, handle->data + fdCount);
    return OK;
}

status_t Parcel::readHandle(const native_handle_t** handle) const {
    *handle = nullptr;
    int32_t fdCount = 0;
    int32_t intCount = 0;
    status_t status = readInt32(&fdCount);
    if (status != OK || fdCount == -1) return status;
    status = readInt32(&intCount);
    if (status != OK) return status;
    if (fdCount < 0 || intCount < 0 || intCount > NATIVE_HANDLE_MAX_INTS) return BAD_VALUE;
    const size_t intBytes = static_cast<size_t>(intCount) * sizeof(int);
    const uint8_t* ints = take(intBytes, kWordSize);
    if (ints == nullptr) return NOT_ENOUGH_DATA;
    *handle = mIn.attach().takeHandle(static_cast<size_t>(fdCount), reinterpret_cast<const int*>(ints),
                                      static_cast<size_t>(intCount));
    return *handle != nullptr ? static_cast<status_t>(OK) : static_cast<status_t>(BAD_VALUE);
}

status_t Parcel::readNullableNativeHandleNoDup(const native_handle_t** handle) const {
    return readHandle(handle);
}

status_t Parcel::readNativeHandleNoDup(const native_handle_t** handle) const {
    status_t status = readHandle(handle);
    return status == OK && *handle == nullptr ? static_cast<status_t>(UNEXPECTED_NULL) : status;
}

// The structure that holds the handle is written before it and read back field by
// field, so that where it lies needs no record of its own.
status_t Parcel::writeEmbeddedNativeHandle(const native_handle_t* handle, size_t parent,
                                           size_t parentOffset) {
    const status_t status = clearPointer(parent, parentOffset);
    return status == OK ? writeNativeHandleNoDup(handle) : status;
}

status_t Parcel::readEmbeddedNativeHandle(size_t, size_t, const native_handle_t** handle) const {
    return readNativeHandleNoDup(handle);
}

status_t Parcel::readNullableEmbeddedNativeHandle(size_t, size_t, const native_handle_t** handle) const {
    return readHandle(handle);
}

}  // namespace android::hardware
