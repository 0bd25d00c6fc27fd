// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cutils/native_handle.h>
#include <hwbinder/IInterface.h>
#include <stddef.h>
#include <stdint.h>
#include <transport/message.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

namespace android::hardware {

/**
 * The arguments or the results of one call, as the generated code writes and reads
 * them. A parcel is either written (then sent) or received (then read). One thread.
 *
 * Writers give FAILED_TRANSACTION once the parcel is larger than any transaction may
 * be, and so does the call. Readers check every size against what was received. At the
 * end, numbers and handles give NOT_ENOUGH_DATA, buffers BAD_VALUE, interfaces BAD_TYPE;
 * so does BAD_VALUE a buffer that is not the one asked for. What a reader points to lives
 * as long as the parcel.
 *
 * The size of a transaction is that of the same parcel on the platform, which lays it out
 * in another way than the packets of this transport:
 *
 *     number, bool             its size, at least 4
 *     text (interface's name)  length + 1, rounded up to 4
 *     buffer                   40 for its object + 8 for the object's entry in the list of
 *                              objects + its size, rounded up to 8
 *     interface                24 + 8; null: 24
 *     native handle            8 for its size + a buffer of 12 bytes, descriptors and
 *                              integers (4 each) + 32 + 8 for its descriptors; null: 8
 *
 * A structure is a buffer, and so is the content of each string and vector in it, whose
 * head takes 16 bytes of the structure. The sum is rounded up to 8.
 */
class Parcel {
  public:
    Parcel();
    ~Parcel();
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    /** Name of the interface whose method is called; the receiver compares it with its own. */
    status_t writeInterfaceToken(const char* interface);
    bool enforceInterface(const char* interface) const;

    status_t writeInt8(int8_t value);
    status_t writeUint8(uint8_t value);
    status_t writeInt16(int16_t value);
    status_t writeUint16(uint16_t value);
    status_t writeInt32(int32_t value);
    status_t writeUint32(uint32_t value);
    status_t writeInt64(int64_t value);
    status_t writeUint64(uint64_t value);
    status_t writeFloat(float value);
    status_t writeDouble(double value);
    status_t writeBool(bool value);
    status_t writeCString(const char* text);

    status_t readInt8(int8_t* value) const;
    status_t readUint8(uint8_t* value) const;
    status_t readInt16(int16_t* value) const;
    status_t readUint16(uint16_t* value) const;
    status_t readInt32(int32_t* value) const;
    status_t readUint32(uint32_t* value) const;
    status_t readInt64(int64_t* value) const;
    status_t readUint64(uint64_t* value) const;
    /** How many elements follow that take four bytes each at least; NOT_ENOUGH_DATA where they can't. */
    status_t readCount(uint64_t* count) const;
    status_t readFloat(float* value) const;
    status_t readDouble(double* value) const;
    status_t readBool(bool* value) const;
    /** Null where no terminated text follows. */
    const char* readCString() const;

    /**
     * Writes a structure. `*handle` identifies it as the parent of the buffers that its
     * pointers refer to. The pointers themselves are cleared when those buffers are written.
     */
    status_t writeBuffer(const void* data, size_t size, size_t* handle);
    /**
     * Writes what the structure `parent` refers to at `parentOffset`. Large `plain`
     * data is not copied here but when the parcel is sent: it must live until then.
     */
    status_t writeEmbeddedBuffer(const void* data, size_t size, size_t* handle, size_t parent,
                                 size_t parentOffset, bool plain = false);
    status_t readBuffer(size_t size, size_t* handle, const void** data) const;
    /** Only `plain` data is taken from memory that the sender can still write to. */
    status_t readEmbeddedBuffer(size_t size, size_t* handle, size_t parent, size_t parentOffset,
                                const void** data, bool plain = false) const;

    /** An object, or null. */
    status_t writeStrongBinder(const sp<IBinder>& binder);
    status_t readStrongBinder(sp<IBinder>* binder) const;
    status_t readNullableStrongBinder(sp<IBinder>* binder) const;

    /** A native handle, or null. The descriptors stay the writer's; the reader's live as long as the parcel.
     */
    status_t writeNativeHandleNoDup(const native_handle_t* handle);
    status_t readNativeHandleNoDup(const native_handle_t** handle) const;
    status_t readNullableNativeHandleNoDup(const native_handle_t** handle) const;
    status_t writeEmbeddedNativeHandle(const native_handle_t* handle, size_t parent, size_t parentOffset);
    status_t readEmbeddedNativeHandle(size_t parent, size_t parentOffset,
                                      const native_handle_t** handle) const;
    status_t readNullableEmbeddedNativeHandle(size_t parent, size_t parentOffset,
                                              const native_handle_t** handle) const;

    // For the transport.

    /** What was written; sending adds the header and the references to its buffer. */
    transport::OutgoingBody& outgoing() const { return out_; }
    /** Where a received message goes. */
    transport::IncomingMessage& incoming() { return in_; }
    /** The message is there: reads it from its beginning. */
    void startReading();

  private:
    void weighBuffer(size_t size);
    template <typename T>
    status_t writePrimitive(T value);
    template <typename T>
    status_t put(T value);
    template <typename T>
    status_t readPrimitive(T* value) const;
    uint8_t* reserve(size_t size, size_t alignment);
    status_t writeRecord(const void* data, size_t size, uint32_t parent, uint32_t parentOffset,
                         size_t* handle, bool plain);
    status_t clearPointer(size_t parent, size_t offset);
    status_t readRecord(size_t size, uint32_t parent, uint32_t parentOffset, size_t* handle,
                        const void** data, bool plain) const;
    const uint8_t* take(size_t size, size_t alignment) const;
    status_t readHandle(const native_handle_t** handle) const;

    mutable transport::OutgoingBody out_;
    mutable transport::IncomingMessage in_;
    mutable size_t position_ = 0;
};

}  // namespace android::hardware
