// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlSupport"

#include <fcntl.h>
#include <hidl/HidlSupport.h>
#include <inttypes.h>
#include <log/log.h>
#include <stdio.h>

#include <new>
#include <ostream>

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
    char text[24];
    snprintf(text, sizeof(text), "%#" PRIx64, bits);
    return text;
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
    freeHandle();
    handle_ = duplicate(other.handle_);
    ownsHandle_ = other.getNativeHandle() != nullptr;
    return *this;
}

hidl_handle& hidl_handle::operator=(const native_handle_t* handle) {
    freeHandle();
    handle_ = handle;
    ownsHandle_ = false;
    return *this;
}

hidl_handle& hidl_handle::operator=(hidl_handle&& other) noexcept {
    if (this == &other) return *this;
    freeHandle();
    handle_ = other.handle_;
    ownsHandle_ = other.ownsHandle_;
    other.handle_ = nullptr;
    other.ownsHandle_ = false;
    return *this;
}

void hidl_handle::setTo(native_handle_t* handle, bool shouldOwn) {
    freeHandle();
    handle_ = handle;
    ownsHandle_ = shouldOwn;
}

void hidl_handle::freeHandle() {
    if (!ownsHandle_ || getNativeHandle() == nullptr) return;
    auto* own = const_cast<native_handle_t*>(getNativeHandle());
    native_handle_close(own);
    native_handle_delete(own);
    handle_ = nullptr;
    ownsHandle_ = false;
}

const size_t hidl_string::kOffsetOfBuffer = 0;

hidl_string::hidl_string() : buffer_(kEmpty), size_(0), ownsBuffer_(false), padding_{} {}

hidl_string::~hidl_string() {
    clear();
}

hidl_string::hidl_string(const hidl_string& other) : hidl_string() {
    assignCopy(other.c_str(), other.size());
}
hidl_string::hidl_string(const char* text) : hidl_string() {
    if (text != nullptr) assignCopy(text, strlen(text));
}
hidl_string::hidl_string(const char* text, size_t length) : hidl_string() {
    assignCopy(text, length);
}
hidl_string::hidl_string(const std::string& text) : hidl_string() {
    assignCopy(text.c_str(), text.size());
}
hidl_string::hidl_string(hidl_string&& other) noexcept : hidl_string() {
    moveFrom(std::move(other));
}

hidl_string& hidl_string::operator=(const hidl_string& other) {
    if (this != &other) assignCopy(other.c_str(), other.size());
    return *this;
}

hidl_string& hidl_string::operator=(const char* text) {
    assignCopy(text != nullptr ? text : kEmpty, text != nullptr ? strlen(text) : 0);
    return *this;
}

hidl_string& hidl_string::operator=(const std::string& text) {
    assignCopy(text.c_str(), text.size());
    return *this;
}

hidl_string& hidl_string::operator=(hidl_string&& other) noexcept {
    if (this != &other) moveFrom(std::move(other));
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

void hidl_string::assignCopy(const char* text, size_t length) {
    if (length >= UINT32_MAX) details::logAlwaysFatal("A string can't hold so many bytes.");
    char* copy = new char[length + 1];
    memcpy(copy, text, length);
    copy[length] = '\0';
    clear();
    buffer_ = copy;
    size_ = static_cast<uint32_t>(length);
    ownsBuffer_ = true;
}

void hidl_string::moveFrom(hidl_string&& other) {
    clear();
    buffer_ = static_cast<const char*>(other.buffer_);
    size_ = other.size_;
    ownsBuffer_ = other.ownsBuffer_;
    other.ownsBuffer_ = false;
    other.clear();
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
