// SPDX-License-Identifier: Apache-2.0
#include "value_file.h"

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "host/program/parse_number.h"
#include "regular_file.h"

namespace hidlaudio::host {
namespace {

using android::base::StringPrintf;
using android::base::Trim;
using android::base::unique_fd;

constexpr size_t kMaxNameLength = 128;

/** Returns a path in the same folder that no other writer uses. */
std::string temporaryFor(const std::filesystem::path& file) {
    uint64_t number = 0;
    while (getrandom(&number, sizeof(number), 0) != sizeof(number)) {
    }
    const std::string name = StringPrintf(".%s.%016" PRIx64, file.filename().c_str(), number);
    return (file.parent_path() / name).string();
}

/** Links a file that was created without a name to `path`. Returns 0 or an errno: EEXIST if `path` exists. */
int giveName(int fd, const std::string& path) {
    const std::string unnamed = "/proc/self/fd/" + std::to_string(fd);
    return linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
}

}  // namespace

int readValueFile(const std::string& path, std::string& content) {
    const unique_fd fd(openRegularFile(path, O_RDONLY));
    struct stat status{};
    if (!fd.ok() || fstat(fd.get(), &status) != 0) return errno;
    if (status.st_size > static_cast<off_t>(kLargestValueFile)) return EFBIG;
    std::string bytes;
    if (!android::base::ReadFdToString(fd.get(), &bytes)) return errno;
    content = std::move(bytes);
    return 0;
}

int writeValueFile(const std::string& path, const std::string& content) {
    // The daemon stores the same settings at each start, and ext4 needs a millisecond to replace a file.
    std::string stored;
    if (readValueFile(path, stored) == 0 && stored == content) return 0;
    const std::filesystem::path file(path);
    const std::string temporary = temporaryFor(file);
    unique_fd fd(open(file.parent_path().c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0600));
    // Some file systems do not support O_TMPFILE.
    const bool named = !fd.ok();
    if (named) fd.reset(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!fd.ok()) return errno;
    const bool isWritten = android::base::WriteStringToFd(content, fd.get()) && fchmod(fd.get(), 0644) == 0;
    int error = isWritten ? 0 : errno;
    if (error == 0 && !named) {
        error = giveName(fd.get(), path);
        if (error != EEXIST) return error;
        error = giveName(fd.get(), temporary);
    }
    if (error == 0 && rename(temporary.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) unlink(temporary.c_str());
    return error;
}

std::optional<int32_t> parseInt32(std::string_view text) {
    return parseNumber<int32_t>(Trim(std::string(text)));
}

std::optional<uint32_t> parseUint32(std::string_view text) {
    return parseNumber<uint32_t>(Trim(std::string(text)));
}

std::optional<uint32_t> parseHexOrDecimal(std::string_view text) {
    const bool isHex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    return isHex ? parseNumber<uint32_t>(text.substr(2), 16) : parseNumber<uint32_t>(text);
}

bool isValueName(std::string_view name) {
    constexpr char kAllowed[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-.";
    return !name.empty() && name.size() <= kMaxNameLength && name.front() != '.' &&
           name.find_first_not_of(kAllowed) == name.npos;
}

}  // namespace hidlaudio::host
