// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cutils/native_handle.h>
#include <hidl/HidlInternal.h>
#include <hidl/HidlString.h>
#include <hidl/HidlVec.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

namespace android::hidl::base::V1_0 {
struct IBase;
}

namespace android::hardware {

/** Receives death notices. Clients derive from it. */
struct hidl_death_recipient : public virtual RefBase {
    /**
     * Called when the process that serves `who` has ended, once for each linkToDeath, on a pool
     * thread.
     *
     * @param cookie as given to linkToDeath
     * @param who    the proxy; it can be promoted while another strong reference to it exists
     */
    virtual void serviceDied(uint64_t cookie, const wp<hidl::base::V1_0::IBase>& who) = 0;
};

/**
 * Native handle type of HIDL: descriptors and integers. It owns the handle only if it is a copy, or
 * if setTo() was called with shouldOwn = true. A received handle lives as long as the call.
 */
struct hidl_handle {
    hidl_handle() : handle_(nullptr), ownsHandle_(false), padding_{} {}
    hidl_handle(const native_handle_t* handle) : hidl_handle() { handle_ = handle; }  // NOLINT
    hidl_handle(const hidl_handle& other) : hidl_handle() { *this = other; }
    hidl_handle(hidl_handle&& other) noexcept : hidl_handle() { *this = std::move(other); }
    ~hidl_handle() { set(nullptr, false); }

    /** Duplicates the descriptors of `other`; aborts if that fails. */
    hidl_handle& operator=(const hidl_handle& other);
    hidl_handle& operator=(const native_handle_t* handle) { return set(handle, false); }
    hidl_handle& operator=(hidl_handle&& other) noexcept;

    void setTo(native_handle_t* handle, bool shouldOwn = false) { set(handle, shouldOwn); }

    const native_handle_t* operator->() const { return handle_; }
    operator const native_handle_t*() const { return handle_; }  // NOLINT: as on the platform
    const native_handle_t* getNativeHandle() const { return handle_; }

  private:
    /** Frees the current handle if it is owned, and takes the new one. */
    hidl_handle& set(const native_handle_t* handle, bool owns);

    details::hidl_pointer<const native_handle_t> handle_;
    bool ownsHandle_;
    [[maybe_unused]] uint8_t padding_[7];  // zeroed: it is sent
};

/** Shared memory with a name. The generated code checks its layout; no interface here passes any. */
struct hidl_memory {
    hidl_memory() : size_(0) {}
    hidl_memory(const hidl_string& name, const hidl_handle& handle, size_t size)
        : handle_(handle), size_(size), name_(name) {}

    const native_handle_t* handle() const { return handle_; }
    const hidl_string& name() const { return name_; }
    uint64_t size() const { return size_; }

  private:
    hidl_handle handle_;
    uint64_t size_;
    hidl_string name_;
};

/** Fixed-size array type of HIDL with several dimensions. */
template <typename T, size_t SIZE, size_t... SIZES>
struct hidl_array {
    using Row = hidl_array<T, SIZES...>;

    /** Returns all elements, row by row. */
    T* data() { return rows_[0].data(); }
    const T* data() const { return rows_[0].data(); }
    Row& operator[](size_t index) { return rows_[index]; }
    const Row& operator[](size_t index) const { return rows_[index]; }
    static constexpr auto size() { return std::make_tuple(SIZE, SIZES...); }

    bool operator==(const hidl_array& other) const {
        return std::equal(std::begin(rows_), std::end(rows_), std::begin(other.rows_));
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

  private:
    Row rows_[SIZE];
};

/**
 * Array of one dimension. The constructor from an array reference is for the braced arrays in
 * generated code: g++ does not let a temporary array decay to a pointer.
 */
template <typename T, size_t SIZE>
struct hidl_array<T, SIZE> {
    hidl_array() = default;
    hidl_array(const T* source) { std::copy(source, source + SIZE, buffer_); }    // NOLINT
    hidl_array(const T (&source)[SIZE]) : hidl_array(&source[0]) {}               // NOLINT
    hidl_array(const std::array<T, SIZE>& source) : hidl_array(source.data()) {}  // NOLINT

    T* data() { return buffer_; }
    const T* data() const { return buffer_; }
    T& operator[](size_t index) { return buffer_[index]; }
    const T& operator[](size_t index) const { return buffer_[index]; }
    static constexpr size_t size() { return SIZE; }

    bool operator==(const hidl_array& other) const {
        return std::equal(buffer_, buffer_ + SIZE, other.buffer_);
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

    operator std::array<T, SIZE>() const {  // NOLINT
        std::array<T, SIZE> copy{};
        std::copy(buffer_, buffer_ + SIZE, copy.begin());
        return copy;
    }

  private:
    T buffer_[SIZE];
};

/** Integer type of an enumeration whose values are combined as bits. */
template <typename T>
using hidl_bitfield = typename std::underlying_type<T>::type;

namespace details {

// The namespace has no name, so that each translation unit has its own specializations. It is inline,
// so that the generated headers can write them outside of it.
inline namespace {
template <typename T>
constexpr std::array<T, 0> hidl_enum_values = {};
}  // namespace

std::string toHexStringFromBits(uint64_t bits);

template <typename T>
std::string toHexString(T value) {
    return toHexStringFromBits(
        static_cast<uint64_t>(static_cast<typename std::make_unsigned<T>::type>(value)));
}

}  // namespace details

/** Range over all values of an enumeration. */
template <typename T>
struct hidl_enum_range {
    constexpr auto begin() const { return details::hidl_enum_values<T>.begin(); }
    constexpr auto end() const { return details::hidl_enum_values<T>.end(); }
};

// toString() returns a value as text, for logs.

std::string toString(const hidl_string& value);
std::string toString(const hidl_handle& value);
std::string toString(const hidl_memory& value);
std::string toString(bool value);

template <typename T>
typename std::enable_if<std::is_arithmetic<T>::value, std::string>::type toString(T value) {
    return std::to_string(value);
}

template <typename Iterator>
std::string toStringOfRange(Iterator first, Iterator last) {
    std::string text = "{";
    const char* separator = "";
    for (; first != last; ++first, separator = ", ") text += separator + toString(*first);
    return text + "}";
}

template <typename T>
std::string toString(const hidl_vec<T>& value) {
    return "[" + std::to_string(value.size()) + "]" + toStringOfRange(value.begin(), value.end());
}

template <typename T, size_t SIZE>
std::string elementsToString(const hidl_array<T, SIZE>& value) {
    return toStringOfRange(value.data(), value.data() + SIZE);
}

template <typename T, size_t SIZE, size_t NEXT, size_t... SIZES>
std::string elementsToString(const hidl_array<T, SIZE, NEXT, SIZES...>& value) {
    std::string text;
    for (size_t i = 0; i < SIZE; ++i) text += (i == 0 ? "{" : ", ") + elementsToString(value[i]);
    return text + "}";
}

template <typename T, size_t... SIZES>
std::string toString(const hidl_array<T, SIZES...>& value) {
    return (... + ("[" + std::to_string(SIZES) + "]")) + elementsToString(value);
}

static_assert(sizeof(hidl_handle) == 16 && sizeof(hidl_memory) == 40,
              "layouts that the generated code checks");

}  // namespace android::hardware
