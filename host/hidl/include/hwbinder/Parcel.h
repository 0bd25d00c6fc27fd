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
 * Arguments or results of one call, written and read by the generated code. A parcel is either
 * written and then sent, or received and then read. One thread at a time.
 *
 * Write methods return FAILED_TRANSACTION once the parcel exceeds the size limit of a transaction;
 * so does the call that sends it. Read methods check every size against the received data. If data is
 * missing, methods for numbers and handles return NOT_ENOUGH_DATA, for buffers BAD_VALUE and for
 * interfaces BAD_TYPE. They also return BAD_VALUE for a buffer other than the requested one. Pointers
 * that a read method returns are valid as long as the parcel.
 *
 * The size of a transaction is that of the same parcel on the platform, although the packets of this
 * transport have another layout. In bytes:
 *
 *     number, bool             its size, at least 4
 *     text (interface's name)  length + 1, rounded up to 4
 *     buffer                   40 for its object + 8 for the object's entry in the list of
 *                              objects + its size, rounded up to 8
 *     interface                24 + 8; null: 24
 *     native handle            8 for its size + a buffer of 12 bytes, descriptors and
 *                              integers (4 each) + 32 + 8 for its descriptors; null: 8
 *
 * Each structure is a buffer. A string or vector takes 16 bytes of its structure, and its content is
 * a buffer of its own. The sum is rounded up to 8.
 */
class Parcel {
  public:
    Parcel();
    ~Parcel();
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    /** Writes the name of the interface whose method is called. */
    status_t writeInterfaceToken(const char* interface);
    /** Reads that name. Returns whether it is `interface`. */
    bool enforceInterface(const char* interface) const;

    status_t writeInt8(int8_t value) { return writeNumber(value); }
    status_t writeUint8(uint8_t value) { return writeNumber(value); }
    status_t writeInt16(int16_t value) { return writeNumber(value); }
    status_t writeUint16(uint16_t value) { return writeNumber(value); }
    status_t writeInt32(int32_t value) { return writeNumber(value); }
    status_t writeUint32(uint32_t value) { return writeNumber(value); }
    status_t writeInt64(int64_t value) { return writeNumber(value); }
    status_t writeUint64(uint64_t value) { return writeNumber(value); }
    status_t writeFloat(float value) { return writeNumber(value); }
    status_t writeDouble(double value) { return writeNumber(value); }
    status_t writeBool(bool value) { return writeNumber(uint8_t{value}); }
    status_t writeCString(const char* text);

    status_t readInt8(int8_t* value) const { return readNumber(value); }
    status_t readUint8(uint8_t* value) const { return readNumber(value); }
    status_t readInt16(int16_t* value) const { return readNumber(value); }
    status_t readUint16(uint16_t* value) const { return readNumber(value); }
    status_t readInt32(int32_t* value) const { return readNumber(value); }
    status_t readUint32(uint32_t* value) const { return readNumber(value); }
    status_t readInt64(int64_t* value) const { return readNumber(value); }
    status_t readUint64(uint64_t* value) const { return readNumber(value); }
    /**
     * Reads the number of elements that follow. Returns NOT_ENOUGH_DATA if the rest of the parcel is
     * too short for so many elements of four bytes.
     */
    status_t readCount(uint64_t* count) const;
    status_t readFloat(float* value) const { return readNumber(value); }
    status_t readDouble(double* value) const { return readNumber(value); }
    status_t readBool(bool* value) const;
    /** Returns the next text, or `nullptr` if no NUL-terminated text follows. */
    const char* readCString() const;

    /**
     * Writes a structure. `*handle` identifies it as the parent of the buffers that its
     * pointers refer to. Each pointer is cleared when its buffer is written.
     */
    status_t writeBuffer(const void* data, size_t size, size_t* handle);
    /**
     * Writes the buffer that the structure `parent` refers to at `parentOffset`. Large `plain` data is
     * copied only when the parcel is sent, so it must live until then.
     */
    status_t writeEmbeddedBuffer(const void* data, size_t size, size_t* handle, size_t parent,
                                 size_t parentOffset, bool plain = false);
    /**
     * Writes plain data that only `copy` can read. It is called now, or by the thread that sends the parcel,
     * and must not make calls. The data must live until then.
     */
    status_t writeEmbeddedBuffer(const void* data, size_t size, size_t* handle, size_t parent,
                                 size_t parentOffset, transport::CopyBulk copy);
    status_t readBuffer(size_t size, size_t* handle, const void** data) const;
    /** Reads such a buffer. Only `plain` data may lie in memory that the sender can still write to. */
    status_t readEmbeddedBuffer(size_t size, size_t* handle, size_t parent, size_t parentOffset,
                                const void** data, bool plain = false) const;

    /** Write and read an object, or null. readStrongBinder() returns UNEXPECTED_NULL for null. */
    status_t writeStrongBinder(const sp<IBinder>& binder);
    status_t readStrongBinder(sp<IBinder>* binder) const;
    status_t readNullableStrongBinder(sp<IBinder>* binder) const;

    /**
     * Write and read a native handle, or null. The caller keeps the descriptors that it writes; those
     * that it reads live as long as the parcel.
     */
    status_t writeNativeHandleNoDup(const native_handle_t* handle);
    status_t readNullableNativeHandleNoDup(const native_handle_t** handle) const;
    status_t writeEmbeddedNativeHandle(const native_handle_t* handle, size_t parent, size_t parentOffset);
    status_t readNullableEmbeddedNativeHandle(size_t parent, size_t parentOffset,
                                              const native_handle_t** handle) const;

    // For the transport.

    /** Returns the written data. Sending adds the header and the references to its buffer. */
    transport::OutgoingBody& outgoing() const { return out_; }
    /** Returns the destination for a received message. */
    transport::IncomingMessage& incoming() { return in_; }
    /** Starts to read the received message from its beginning. */
    void startReading() { position_ = 0; }
    /** Returns whether the parcel holds a received message. */
    bool isReceived() const { return in_.body != nullptr; }
    /**
     * Makes what was written readable in `receiver`, for a call that does not leave the process.
     *
     * @return OK; FAILED_TRANSACTION if the parcel is too large; a negative errno if no descriptor is left
     */
    status_t deliverTo(Parcel* receiver) const;

  private:
    void weighBuffer(size_t size);
    template <typename T>
    status_t writeNumber(T value);
    template <typename T>
    status_t put(T value);
    template <typename T>
    status_t readNumber(T* value) const;
    uint8_t* reserve(size_t size, size_t alignment);
    status_t writeRecord(const void* data, size_t size, uint32_t parent, uint32_t parentOffset,
                         size_t* handle, transport::CopyBulk copyLater);
    status_t clearPointer(size_t parent, size_t offset);
    status_t readRecord(size_t size, uint32_t parent, uint32_t parentOffset, size_t* handle,
                        const void** data, bool plain) const;
    const uint8_t* take(size_t size, size_t alignment) const;

    mutable transport::OutgoingBody out_;
    mutable transport::IncomingMessage in_;
    mutable size_t position_ = 0;
};

}  // namespace android::hardware
