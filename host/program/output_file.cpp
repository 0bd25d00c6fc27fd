// SPDX-License-Identifier: Apache-2.0
#include "output_file.h"

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <filesystem>
#include <random>

#include "parse_number.h"
#include "standard_streams.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using android::base::unique_fd;

constexpr int kMaxLinks = 40;  // the kernel's limit
constexpr int kMaxTemporaryNames = 100;

fs::path folderOf(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : ".";
}

/** Returns whether `path` is in /proc. A link there refers to an open file, which may have lost its name. */
bool isInProc(const fs::path& path) {
    struct statfs status{};
    return statfs(folderOf(path).c_str(), &status) == 0 && status.f_type == PROC_SUPER_MAGIC;
}

/**
 * Follows symbolic links up to a path in /proc or one that is not a link; the target need not exist. Returns
 * a link if there are more than kMaxLinks.
 */
fs::path followLinks(fs::path path) {
    for (int i = 0; i < kMaxLinks && !isInProc(path); ++i) {
        std::error_code error;
        const fs::path target = fs::read_symlink(path, error);
        if (error) break;
        path = folderOf(path) / target;
    }
    return path;
}

/**
 * Duplicates the descriptor that `path`, in /proc, names. Returns -1 with errno if that fails: ENOENT if
 * `path` names no descriptor of this process.
 */
unique_fd duplicateOwnDescriptor(const fs::path& path) {
    std::error_code error;
    const std::string folder = fs::canonical(folderOf(path), error);
    const auto number = parseNumber<int>(path.filename().native());
    const bool isOwn = folder.rfind("/proc/" + std::to_string(getpid()) + "/", 0) == 0 &&
                       fs::path(folder).filename() == "fd" && number;
    errno = ENOENT;
    return unique_fd(isOwn ? fcntl(*number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1);
}

/** Returns an empty string, or an error message. */
std::string writeTo(int fd, const std::string& content) {
    return android::base::WriteStringToFd(content, fd) ? "" : strerror(errno);
}

/** Creates a file in the folder and sets `path` to its path. Returns -1 with errno if that fails. */
unique_fd makeTemporary(const fs::path& folder, mode_t mode, fs::path& path) {
    std::random_device random;
    unique_fd fd;
    for (int i = 0; i < kMaxTemporaryNames; ++i) {
        path = folder / (".output." + std::to_string(random()));
        fd.reset(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        if (fd.ok() || errno != EEXIST) break;
    }
    return fd;
}

/**
 * Copies the mode of the replaced file `old` to the new one, and owner and group if this process may set
 * them. Returns false with errno if the mode cannot be set.
 */
bool copyAttributes(int fd, const struct stat& old) {
    mode_t mode = old.st_mode & 0777;
    const bool groupKept =
        fchown(fd, old.st_uid, old.st_gid) == 0 || fchown(fd, static_cast<uid_t>(-1), old.st_gid) == 0;
    // If the group differs, it gets the permissions of others.
    if (!groupKept) mode = (mode & 0707) | ((mode & 07) << 3);
    return fchmod(fd, mode) == 0;
}

/**
 * Writes `content` to a temporary file and renames it to `target`. `old` describes the existing file, or is
 * `nullptr` if there is none. Returns an empty string, or an error message.
 */
std::string replaceFile(const fs::path& target, const struct stat* old, const std::string& content) {
    fs::path temporary;
    const unique_fd fd = makeTemporary(folderOf(target), old != nullptr ? 0600 : 0666, temporary);
    if (!fd.ok()) {
        const std::string reason = strerror(errno);
        return old == nullptr
                   ? reason
                   : "cannot create a temporary file in " + folderOf(target).string() + ": " + reason;
    }
    std::string problem = writeTo(fd.get(), content);
    if (problem.empty() && ((old != nullptr && !copyAttributes(fd.get(), *old)) || fsync(fd.get()) != 0 ||
                            rename(temporary.c_str(), target.c_str()) != 0))
        problem = strerror(errno);
    if (!problem.empty()) unlink(temporary.c_str());
    return problem;
}

std::string writeThrough(const fs::path& path, const std::string& content) {
    flushOutput();  // `path` may be standard output: keep the order
    unique_fd fd = duplicateOwnDescriptor(path);
    if (!fd.ok() && errno == ENOENT) fd.reset(open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOCTTY));
    return fd.ok() ? writeTo(fd.get(), content) : strerror(errno);
}

std::string writeTarget(const fs::path& target, const std::string& content) {
    if (isInProc(target)) return writeThrough(target, content);
    const unique_fd fd(open(target.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
    if (!fd.ok()) return errno == ENOENT ? replaceFile(target, nullptr, content) : strerror(errno);
    struct stat status{};
    if (fstat(fd.get(), &status) != 0) return strerror(errno);
    return S_ISREG(status.st_mode) ? replaceFile(target, &status, content) : writeTo(fd.get(), content);
}

}  // namespace

std::string writeOutputFile(const std::string& path, const std::string& content) {
    if (path == kStandardOutput) {
        fwrite(content.data(), 1, content.size(), stdout);
        return "";
    }
    const std::string problem = writeTarget(followLinks(path), content);
    return problem.empty() ? "" : path + " cannot be written: " + problem;
}

}  // namespace hidlaudio::host
