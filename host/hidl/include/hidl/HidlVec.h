// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlInternal.h>
#include <stddef.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

namespace android::hardware {

/**
 * Vector type of HIDL. It owns its elements, unless setToExternal() was called without shouldOwn. The
 * elements of a received vector live as long as the call.
 */
template <typename T>
struct hidl_vec {
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    hidl_vec() : buffer_(nullptr), size_(0), ownsBuffer_(false), padding_{} {}
    explicit hidl_vec(size_t size) : hidl_vec() { resize(size); }
    hidl_vec(const hidl_vec& other) : hidl_vec(other.begin(), other.end()) {}
    hidl_vec(hidl_vec&& other) noexcept : hidl_vec() { *this = std::move(other); }
    hidl_vec(const std::vector<T>& other) : hidl_vec(other.begin(), other.end()) {}  // NOLINT: implicit
    hidl_vec(std::initializer_list<T> list) : hidl_vec(list.begin(), list.end()) {}
    template <typename InputIterator,
              typename = typename std::iterator_traits<InputIterator>::iterator_category>
    hidl_vec(InputIterator first, InputIterator last) : hidl_vec() {
        allocate(static_cast<size_t>(std::distance(first, last)));
        std::copy(first, last, begin());
    }
    ~hidl_vec() { freeBuffer(); }

    hidl_vec& operator=(const hidl_vec& other) { return *this = hidl_vec(other); }
    hidl_vec& operator=(hidl_vec&& other) noexcept {
        if (this == &other) return *this;
        freeBuffer();
        buffer_ = other.data();
        size_ = other.size_;
        ownsBuffer_ = other.ownsBuffer_;
        other.ownsBuffer_ = false;  // `other` still refers to the elements, as on the platform
        return *this;
    }
    hidl_vec& operator=(const std::vector<T>& other) { return *this = hidl_vec(other); }
    hidl_vec& operator=(std::initializer_list<T> list) { return *this = hidl_vec(list); }

    operator std::vector<T>() const { return std::vector<T>(begin(), end()); }  // NOLINT

    /**
     * Refers to `size` elements at `data` without copying them. With `shouldOwn`, the vector frees
     * them with delete[]; otherwise they must outlive it.
     */
    void setToExternal(T* data, size_t size, bool shouldOwn = false) {
        checkSize(size);
        freeBuffer();
        buffer_ = data;
        size_ = static_cast<uint32_t>(size);
        ownsBuffer_ = shouldOwn;
    }

    /**
     * Returns the elements and their ownership; the caller frees them with delete[]. External elements
     * are copied first.
     */
    T* releaseData() {
        if (!ownsBuffer_ && size_ > 0) resize(size_);
        ownsBuffer_ = false;
        return data();
    }

    T* data() { return buffer_; }
    const T* data() const { return buffer_; }
    size_t size() const { return size_; }

    T& operator[](size_t index) { return data()[index]; }
    const T& operator[](size_t index) const { return data()[index]; }

    iterator begin() { return data(); }
    iterator end() { return data() + size_; }
    const_iterator begin() const { return data(); }
    const_iterator end() const { return data() + size_; }
    const_iterator cbegin() const { return data(); }
    const_iterator cend() const { return data() + size_; }

    iterator find(const T& value) { return std::find(begin(), end(), value); }
    const_iterator find(const T& value) const { return std::find(begin(), end(), value); }
    bool contains(const T& value) const { return find(value) != end(); }

    /** Changes the size. Keeps the elements that fit; new elements are value-initialized. */
    void resize(size_t size) {
        checkSize(size);
        hidl_vec grown;
        grown.allocate(size);
        std::copy(begin(), begin() + std::min(size, this->size()), grown.begin());
        *this = std::move(grown);
    }

    bool operator==(const hidl_vec& other) const {
        return size() == other.size() && std::equal(begin(), end(), other.begin());
    }
    bool operator!=(const hidl_vec& other) const { return !(*this == other); }

    /** Offset of the pointer in this structure, in bytes. */
    static constexpr size_t kOffsetOfBuffer = 0;

  private:
    static void checkSize(size_t size) {
        if (size > std::numeric_limits<uint32_t>::max())
            details::logAlwaysFatal("hidl_vec can't hold that many elements.");
    }
    // Precondition: the vector owns no buffer.
    void allocate(size_t size) {
        checkSize(size);
        buffer_ = size > 0 ? new T[size]() : nullptr;
        size_ = static_cast<uint32_t>(size);
        ownsBuffer_ = size > 0;
    }
    void freeBuffer() {
        if (ownsBuffer_) delete[] data();
        buffer_ = nullptr;
        size_ = 0;
        ownsBuffer_ = false;
    }

    details::hidl_pointer<T> buffer_;
    uint32_t size_;
    bool ownsBuffer_;
    [[maybe_unused]] uint8_t padding_[3];  // zeroed: it is sent
};
static_assert(sizeof(hidl_vec<char>) == 16, "the layout is part of the wire format");

}  // namespace android::hardware
