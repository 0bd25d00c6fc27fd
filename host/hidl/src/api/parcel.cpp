// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <fcntl.h>
#include <hidl/HidlInternal.h>
#include <hwbinder/Parcel.h>
#include <string.h>

#include <limits>

namespace android::hardware {

using transport::alignUp;
using transport::BufferRecord;
using transport::CopyBulk;
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

// Sizes of the parts of a parcel on the platform, in bytes; see Parcel.h.
constexpr size_t kBufferObject = 40;
constexpr size_t kInterfaceObject = 24;
constexpr size_t kDescriptorArrayObject = 32;
constexpr size_t kObjectEntry = 8;
constexpr size_t kBufferAlignment = 8;

template <typename T>
constexpr size_t alignmentOf() {
    return sizeof(T) < kWordSize ? kWordSize : sizeof(T);
}

void copyBytes(const void* data, uint8_t* target, size_t size) {
    if (size > 0) memcpy(target, data, size);
}

}  // namespace

Parcel::Parcel() = default;
Parcel::~Parcel() = default;

// Returns `size` bytes at the next aligned position, or `nullptr` if the parcel is too large.
uint8_t* Parcel::reserve(size_t size, size_t alignment) {
    const size_t start = alignUp(out_.bodySize, alignment);
    if (out_.tooLarge || size > kTransactionLimit || start + size > kTransactionLimit) {
        out_.tooLarge = true;
        return nullptr;
    }
    const size_t needed = kHeaderSize + start + size;
    if (out_.buffer.capacity() == 0) {
        out_.buffer = PacketBuffer::ofSize(needed > kMaxPacket ? needed : kMaxPacket);
    } else if (needed > out_.buffer.capacity()) {
        out_.buffer.grow(needed, kHeaderSize + out_.bodySize);
    }
    uint8_t* body = out_.buffer.data() + kHeaderSize;
    if (start != out_.bodySize) memset(body + out_.bodySize, 0, start - out_.bodySize);
    out_.bodySize = start + size;
    return body + start;
}

const uint8_t* Parcel::take(size_t size, size_t alignment) const {
    const size_t start = alignUp(position_, alignment);
    if (start > in_.bodySize || size > in_.bodySize - start) return nullptr;
    position_ = start + size;
    return in_.body + start;
}

void Parcel::weighBuffer(size_t size) {
    out_.weight += kBufferObject + kObjectEntry + alignUp(size, kBufferAlignment);
}

template <typename T>
status_t Parcel::writeNumber(T value) {
    out_.weight += alignUp(sizeof(T), kWordSize);
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
status_t Parcel::readNumber(T* value) const {
    const uint8_t* place = take(sizeof(T), alignmentOf<T>());
    if (place == nullptr) return NOT_ENOUGH_DATA;
    memcpy(value, place, sizeof(T));
    return OK;
}

// The types of the methods in Parcel.h, which are inline.
template status_t Parcel::writeNumber(int8_t value);
template status_t Parcel::readNumber(int8_t* value) const;
template status_t Parcel::writeNumber(uint8_t value);
template status_t Parcel::readNumber(uint8_t* value) const;
template status_t Parcel::writeNumber(int16_t value);
template status_t Parcel::readNumber(int16_t* value) const;
template status_t Parcel::writeNumber(uint16_t value);
template status_t Parcel::readNumber(uint16_t* value) const;
template status_t Parcel::writeNumber(int32_t value);
template status_t Parcel::readNumber(int32_t* value) const;
template status_t Parcel::writeNumber(uint32_t value);
template status_t Parcel::readNumber(uint32_t* value) const;
template status_t Parcel::writeNumber(int64_t value);
template status_t Parcel::readNumber(int64_t* value) const;
template status_t Parcel::writeNumber(uint64_t value);
template status_t Parcel::readNumber(uint64_t* value) const;
template status_t Parcel::writeNumber(float value);
template status_t Parcel::readNumber(float* value) const;
template status_t Parcel::writeNumber(double value);
template status_t Parcel::readNumber(double* value) const;

status_t Parcel::readCount(uint64_t* count) const {
    const status_t status = readNumber(count);
    if (status != OK) return status;
    return *count <= (in_.bodySize - position_) / kWordSize ? OK : NOT_ENOUGH_DATA;
}

status_t Parcel::readBool(bool* value) const {
    uint8_t byte = 0;
    status_t status = readNumber(&byte);
    *value = byte != 0;
    return status;
}

status_t Parcel::writeCString(const char* text) {
    const size_t size = strlen(text) + 1;
    out_.weight += alignUp(size, kWordSize);
    uint8_t* place = reserve(size, kWordSize);
    if (place == nullptr) return FAILED_TRANSACTION;
    memcpy(place, text, size);
    return OK;
}

const char* Parcel::readCString() const {
    const size_t start = alignUp(position_, kWordSize);
    if (start >= in_.bodySize) return nullptr;
    const char* text = reinterpret_cast<const char*>(in_.body) + start;
    const size_t length = strnlen(text, in_.bodySize - start);
    if (length == in_.bodySize - start) return nullptr;
    position_ = start + length + 1;
    return text;
}

status_t Parcel::writeInterfaceToken(const char* interface) {
    return writeCString(interface);
}

bool Parcel::enforceInterface(const char* interface) const {
    const char* token = readCString();
    return token != nullptr && strcmp(token, interface) == 0;
}

// Large data is copied when the parcel is sent, unless `copyLater` is null.
status_t Parcel::writeRecord(const void* data, size_t size, uint32_t parent, uint32_t parentOffset,
                             size_t* handle, CopyBulk copyLater) {
    const bool bulk =
        copyLater != nullptr && size > kBulkThreshold && out_.bulkCount < OutgoingBody::kMaxBulkPieces;
    if (size > kTransactionLimit) out_.tooLarge = true;
    weighBuffer(size);
    uint8_t* place = reserve(sizeof(BufferRecord), kWordSize);
    if (place == nullptr) return FAILED_TRANSACTION;
    BufferRecord record{static_cast<uint32_t>(size), parent, parentOffset, kInline};
    if (bulk) {
        const size_t offset = alignUp(out_.bulkSize, kBulkAlignment);
        record.place = static_cast<uint32_t>(offset);
        out_.bulk[out_.bulkCount++] = {data, size, offset, copyLater};
        out_.bulkSize = offset + size;
    }
    memcpy(place, &record, sizeof(record));
    if (!bulk) {
        place = reserve(size, kRecordDataAlignment);
        if (place == nullptr) return FAILED_TRANSACTION;
        (copyLater != nullptr ? copyLater : copyBytes)(data, place, size);
    }
    *handle = out_.bodySize - (bulk ? 0 : size);
    return OK;
}

// Clears the pointer at `offset` of the structure `parent`. The receiver sets its own pointers;
// addresses of this process must not leave it.
status_t Parcel::clearPointer(size_t parent, size_t offset) {
    if (out_.tooLarge) return FAILED_TRANSACTION;
    if (parent > out_.bodySize || offset > out_.bodySize - parent) return BAD_VALUE;
    if (out_.bodySize - parent - offset < kPointerSize) return BAD_VALUE;
    memset(out_.buffer.data() + kHeaderSize + parent + offset, 0, kPointerSize);
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
    *data = record.place == kInline ? take(size, kRecordDataAlignment) : in_.bulk.at(record.place, size);
    if (*data == nullptr) return BAD_VALUE;
    *handle = position_ - (record.place == kInline ? size : 0);
    return OK;
}

status_t Parcel::writeBuffer(const void* data, size_t size, size_t* handle) {
    return writeRecord(data, size, kNoParent, 0, handle, nullptr);
}

status_t Parcel::writeEmbeddedBuffer(const void* data, size_t size, size_t* handle, size_t parent,
                                     size_t parentOffset, bool plain) {
    return writeEmbeddedBuffer(data, size, handle, parent, parentOffset, plain ? copyBytes : nullptr);
}

status_t Parcel::writeEmbeddedBuffer(const void* data, size_t size, size_t* handle, size_t parent,
                                     size_t parentOffset, CopyBulk copy) {
    const status_t status = clearPointer(parent, parentOffset);
    if (status != OK) return status;
    return writeRecord(data, size, static_cast<uint32_t>(parent), static_cast<uint32_t>(parentOffset), handle,
                       copy);
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
    out_.weight += kInterfaceObject + (binder != nullptr ? kObjectEntry : 0);
    if (binder == nullptr) return put(kNullObject);
    if (out_.objects.size() >= kMaxObjects) {
        out_.tooLarge = true;
        return FAILED_TRANSACTION;
    }
    out_.objects.push_back(binder);
    return put(static_cast<uint32_t>(out_.objects.size() - 1));
}

status_t Parcel::readNullableStrongBinder(sp<IBinder>* binder) const {
    uint32_t index = 0;
    if (readUint32(&index) != OK) return BAD_TYPE;
    if (index == kNullObject) {
        *binder = nullptr;
        return OK;
    }
    if (in_.attachments == nullptr || index >= in_.attachments->objects.size()) return BAD_VALUE;
    *binder = in_.attachments->objects[index];
    return OK;
}

status_t Parcel::readStrongBinder(sp<IBinder>* binder) const {
    status_t status = readNullableStrongBinder(binder);
    return status == OK && *binder == nullptr ? static_cast<status_t>(UNEXPECTED_NULL) : status;
}

status_t Parcel::writeNativeHandleNoDup(const native_handle_t* handle) {
    out_.weight += sizeof(uint64_t);  // the handle's size
    if (handle == nullptr) return put(int32_t{-1});
    if (handle->numFds < 0 || handle->numInts < 0 || handle->numInts > NATIVE_HANDLE_MAX_INTS)
        return BAD_VALUE;
    const auto fdCount = static_cast<size_t>(handle->numFds);
    if (fdCount > kMaxDescriptors - out_.fds.size()) {
        out_.tooLarge = true;
        return FAILED_TRANSACTION;
    }
    const size_t intBytes = static_cast<size_t>(handle->numInts) * sizeof(int);
    weighBuffer(sizeof(native_handle_t) + fdCount * sizeof(int) + intBytes);
    out_.weight += kDescriptorArrayObject + kObjectEntry;
    status_t status = put(int32_t{handle->numFds});
    if (status == OK) status = put(int32_t{handle->numInts});
    if (status != OK) return status;
    uint8_t* place = reserve(intBytes, kWordSize);
    if (place == nullptr) return FAILED_TRANSACTION;
    memcpy(place, handle->data + fdCount, intBytes);
    out_.fds.insert(out_.fds.end(), handle->data, handle->data + fdCount);
    return OK;
}

status_t Parcel::readNullableNativeHandleNoDup(const native_handle_t** handle) const {
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
    *handle = in_.attach().createHandle(static_cast<size_t>(fdCount), reinterpret_cast<const int*>(ints),
                                        static_cast<size_t>(intCount));
    return *handle != nullptr ? OK : BAD_VALUE;
}

// A handle needs no record with its parent and offset: handles are read in the order in which they
// were written.
status_t Parcel::writeEmbeddedNativeHandle(const native_handle_t* handle, size_t parent,
                                           size_t parentOffset) {
    const status_t status = clearPointer(parent, parentOffset);
    return status == OK ? writeNativeHandleNoDup(handle) : status;
}

status_t Parcel::readNullableEmbeddedNativeHandle(size_t, size_t, const native_handle_t** handle) const {
    return readNullableNativeHandleNoDup(handle);
}

status_t Parcel::deliverTo(Parcel* receiver) const {
    if (out_.tooLarge || out_.transactionSize() > kTransactionLimit) return FAILED_TRANSACTION;
    transport::IncomingMessage message;
    message.buffer = PacketBuffer::ofSize(out_.bodySize);
    if (out_.bodySize > 0) memcpy(message.buffer.data(), out_.body(), out_.bodySize);
    message.body = message.buffer.data();
    message.bodySize = out_.bodySize;
    message.attach().objects = out_.objects;
    for (int fd : out_.fds) {
        base::unique_fd copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
        if (copy < 0) return -errno;
        message.attach().fds.push_back(std::move(copy));
    }
    auto bulk = std::make_unique<uint8_t[]>(out_.bulkSize);
    for (size_t i = 0; i < out_.bulkCount; ++i) out_.bulk[i].copyTo(bulk.get());
    message.bulk = transport::BulkView(std::move(bulk), out_.bulkSize);
    receiver->incoming() = std::move(message);
    receiver->startReading();
    return OK;
}

}  // namespace android::hardware
