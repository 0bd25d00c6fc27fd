// SPDX-License-Identifier: Apache-2.0
#include "value_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace hidlaudio::host {
namespace {

constexpr size_t kLongestName = 128;

int readAll(int fd, std::string& content) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    if (!S_ISREG(status.st_mode)) return EINVAL;
    std::string bytes(kLargestValueFile + 1, '\0');
    size_t length = 0;
    while (length < bytes.size()) {
        const ssize_t count = read(fd, bytes.data() + length, bytes.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        if (count == 0) break;
        length += static_cast<size_t>(count);
    }
    if (length > kLargestValueFile) return EFBIG;
    bytes.resize(length);
    content = std::move(bytes);
    return 0;
}

int writeAll(int fd, const std::string& content) {
    size_t written = 0;
    while (written < content.size()) {
        const ssize_t count = write(fd, content.data() + written, content.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        written += static_cast<size_t>(count);
    }
    return fchmod(fd, 0644) == 0 ? 0 : errno;
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.';
}

template <typename Number>
std::optional<Number> parse(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace

int readValueFile(const std::string& path, std::string& content) {
    // Non-blocking: a named pipe in the file's place must not hold the caller up.
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return errno;
    const int error = readAll(fd, content);
    close(fd);
    return error;
}

int writeValueFile(const std::string& path, const std::string& content) {
    const std::filesystem::path file(path);
    std::string temporary = (file.parent_path() / ("." + file.filename().string() + ".XXXXXX")).string();
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) return errno;
    int error = writeAll(fd, content);
    if (close(fd) != 0 && error == 0) error = errno;
    if (error == 0 && rename(temporary.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) unlink(temporary.c_str());
    return error;
}

std::optional<int32_t> parseInt32(std::string_view text) {
    return parse<int32_t>(text);
}

std::optional<uint32_t> parseUint32(std::string_view text) {
    return parse<uint32_t>(text);
}

bool isValueName(std::string_view name) {
    return !name.empty() && name.size() <= kLongestName && name.front() != '.' &&
           std::all_of(name.begin(), name.end(), isNameCharacter);
}

}  // namespace hidlaudio::host
