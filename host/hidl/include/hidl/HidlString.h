// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlInternal.h>
#include <stddef.h>
#include <string.h>

#include <iosfwd>
#include <string>
#include <utility>

namespace android::hardware {

/**
 * String type of HIDL: bytes and a terminating NUL. It owns its bytes, except after setToExternal().
 * The bytes of a received string live as long as the call.
 */
struct hidl_string {
    hidl_string();
    ~hidl_string();
    hidl_string(const hidl_string& other) : hidl_string(other.c_str(), other.size()) {}
    hidl_string(const char* text) : hidl_string(text, text != nullptr ? strlen(text) : 0) {}  // NOLINT
    hidl_string(const char* text, size_t length);
    hidl_string(const std::string& text) : hidl_string(text.c_str(), text.size()) {}  // NOLINT
    hidl_string(hidl_string&& other) noexcept : hidl_string() { *this = std::move(other); }

    hidl_string& operator=(const hidl_string& other) { return *this = hidl_string(other); }
    hidl_string& operator=(const char* text) { return *this = hidl_string(text); }
    hidl_string& operator=(const std::string& text) { return *this = hidl_string(text); }
    hidl_string& operator=(hidl_string&& other) noexcept;

    operator std::string() const { return std::string(buffer_, size_); }  // NOLINT

    const char* c_str() const { return buffer_; }
    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    void clear();

    /**
     * Refers to `text` without copying it; `text` must outlive this string. `length` does not count
     * the terminating NUL. Aborts if the NUL is missing or `length` does not fit 32 bits.
     */
    void setToExternal(const char* text, size_t length);

    /** Offset of the pointer in this structure, in bytes. */
    static const size_t kOffsetOfBuffer;

  private:
    details::hidl_pointer<const char> buffer_;
    uint32_t size_;
    bool ownsBuffer_;
    [[maybe_unused]] uint8_t padding_[3];  // zeroed: it is sent
};
static_assert(sizeof(hidl_string) == 16, "the layout is part of the wire format");

// As on the platform, comparisons and stream output stop at the first NUL.
inline bool operator==(const hidl_string& a, const hidl_string& b) {
    return strcmp(a.c_str(), b.c_str()) == 0;
}
inline bool operator==(const hidl_string& a, const char* b) {
    return strcmp(a.c_str(), b) == 0;
}
inline bool operator==(const char* a, const hidl_string& b) {
    return b == a;
}
inline bool operator!=(const hidl_string& a, const hidl_string& b) {
    return !(a == b);
}
inline bool operator!=(const hidl_string& a, const char* b) {
    return !(a == b);
}
inline bool operator!=(const char* a, const hidl_string& b) {
    return !(b == a);
}
inline bool operator<(const hidl_string& a, const hidl_string& b) {
    return strcmp(a.c_str(), b.c_str()) < 0;
}

std::ostream& operator<<(std::ostream& stream, const hidl_string& text);

}  // namespace android::hardware
