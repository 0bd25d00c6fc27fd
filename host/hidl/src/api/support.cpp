// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlSupport"

#include <android-base/stringprintf.h>
#include <fcntl.h>
#include <hidl/HidlSupport.h>
#include <inttypes.h>
#include <log/log.h>

#include <new>
#include <ostream>
#include <utility>

namespace android::hardware {

namespace details {

void logAlwaysFatal(const char* message) {
    LOG_ALWAYS_FATAL("%s", message);
    abort();
}

bool debuggable() {
    return true;
}

std::string toHexStringFromBits(uint64_t bits) {
    return base::StringPrintf("%#" PRIx64, bits);
}

}  // namespace details

namespace {

constexpr char kEmpty[] = "";

const native_handle_t* duplicate(const native_handle_t* handle) {
    if (handle == nullptr) return nullptr;
    native_handle_t* copy = native_handle_create(handle->numFds, handle->numInts);
    if (copy == nullptr) details::logAlwaysFatal("Failed to allocate a native handle.");
    for (int i = 0; i < handle->numFds; ++i) {
        copy->data[i] = fcntl(handle->data[i], F_DUPFD_CLOEXEC, 0);
        if (copy->data[i] < 0) details::logAlwaysFatal("Failed to duplicate a native handle.");
    }
    for (int i = handle->numFds; i < handle->numFds + handle->numInts; ++i) copy->data[i] = handle->data[i];
    return copy;
}

}  // namespace

hidl_handle& hidl_handle::operator=(const hidl_handle& other) {
    if (this == &other) return *this;
    set(nullptr, false);
    return set(duplicate(other.handle_), other.getNativeHandle() != nullptr);
}

hidl_handle& hidl_handle::operator=(hidl_handle&& other) noexcept {
    if (this == &other) return *this;
    return set(std::exchange(other.handle_, nullptr), std::exchange(other.ownsHandle_, false));
}

hidl_handle& hidl_handle::set(const native_handle_t* handle, bool owns) {
    if (ownsHandle_ && getNativeHandle() != nullptr) {
        auto* own = const_cast<native_handle_t*>(getNativeHandle());
        native_handle_close(own);
        native_handle_delete(own);
    }
    handle_ = handle;
    ownsHandle_ = owns;
    return *this;
}

const size_t hidl_string::kOffsetOfBuffer = 0;

hidl_string::hidl_string() : buffer_(kEmpty), size_(0), ownsBuffer_(false), padding_{} {}

hidl_string::~hidl_string() {
    clear();
}

hidl_string::hidl_string(const char* text, size_t length) : hidl_string() {
    if (length >= UINT32_MAX) details::logAlwaysFatal("A string can't hold so many bytes.");
    char* copy = new char[length + 1];
    if (length > 0) memcpy(copy, text, length);
    copy[length] = '\0';
    buffer_ = copy;
    size_ = static_cast<uint32_t>(length);
    ownsBuffer_ = true;
}

hidl_string& hidl_string::operator=(hidl_string&& other) noexcept {
    if (this == &other) return *this;
    clear();
    std::swap(buffer_, other.buffer_);
    std::swap(size_, other.size_);
    std::swap(ownsBuffer_, other.ownsBuffer_);
    return *this;
}

void hidl_string::clear() {
    if (ownsBuffer_) delete[] static_cast<const char*>(buffer_);
    buffer_ = kEmpty;
    size_ = 0;
    ownsBuffer_ = false;
}

void hidl_string::setToExternal(const char* text, size_t length) {
    if (length >= UINT32_MAX) details::logAlwaysFatal("A string can't hold so many bytes.");
    if (text[length] != '\0') details::logAlwaysFatal("A string must end with a NUL.");
    clear();
    buffer_ = text;
    size_ = static_cast<uint32_t>(length);
}

std::ostream& operator<<(std::ostream& stream, const hidl_string& text) {
    return stream << text.c_str();
}

std::string toString(const hidl_string& value) {
    return "\"" + std::string(value) + "\"";
}

std::string toString(bool value) {
    return value ? "1" : "0";
}

std::string toString(const hidl_handle& value) {
    const native_handle_t* handle = value.getNativeHandle();
    if (handle == nullptr) return "0";
    return "native_handle of " + std::to_string(handle->numFds) + " fds and " +
           std::to_string(handle->numInts) + " ints";
}

std::string toString(const hidl_memory& value) {
    return "memory {.name = " + toString(value.name()) + ", .size = " + std::to_string(value.size()) + "}";
}

}  // namespace android::hardware
