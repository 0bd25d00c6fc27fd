// SPDX-License-Identifier: Apache-2.0
#include "tv_check.h"

#include <dirent.h>
#include <errno.h>
#include <stdint.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string_view>

#include "regular_file.h"
#include "value_file.h"

namespace hidlaudio::host {
namespace {

/** Size limits in bytes: far above all files of the programs except logs, and small enough to read. */
constexpr int64_t kLargestKept = int64_t{16} << 20;
constexpr int64_t kLargestOther = int64_t{1} << 30;

enum class Files { Any, Plausible };

bool isBelow(std::string_view path, const std::string& folder) {
    return path.substr(0, folder.size() + 1) == folder + "/";
}

std::string problemOfFolder(const std::string& path, const struct stat& status) {
    static const uid_t user = geteuid();
    if (S_ISLNK(status.st_mode)) return path + " is a link, not a folder";
    if (!S_ISDIR(status.st_mode)) return path + " is not a folder";
    if (status.st_uid != user) return path + " belongs to another user";
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return "other users can write to " + path + "; run `chmod go-w` on it";
    return "";
}

/** Returns the size limit of a file in bytes. Uploads have none, because no program reads them. */
int64_t largestSize(const std::string& root, const std::string& path) {
    if (path == root + kModelFile) return kLargestValueFile;
    if (isBelow(path, root + "/bectrl")) return INT64_MAX;
    return isBelow(path, root + "/data") ? kLargestKept : kLargestOther;
}

std::string problemOfFile(const std::string& root, const std::string& path, const struct stat& status) {
    if (S_ISSOCK(status.st_mode) && isBelow(path, root + kRegistryFolder)) return "";
    std::string problem = irregularityOf(path, status.st_mode);
    if (problem.empty() && status.st_size > largestSize(root, path))
        problem = path + " is too large: " + std::to_string(status.st_size) + " bytes";
    return problem;
}

std::string problemBelow(const std::string& root, const std::string& folder, Files files) {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(folder.c_str()), closedir);
    if (directory == nullptr) return errno == ENOENT || files == Files::Any ? "" : fileError(folder, errno);
    while (const dirent* entry = readdir(directory.get())) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        const bool mayBeFolder = entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN;
        if (files == Files::Any && !mayBeFolder) continue;
        const std::string path = std::string(folder).append("/").append(name);
        struct stat status{};
        // A running program may have removed the file.
        if (lstat(path.c_str(), &status) != 0) continue;
        std::string problem;
        if (S_ISDIR(status.st_mode)) {
            problem = problemOfFolder(path, status);
            if (problem.empty()) problem = problemBelow(root, path, files);
        } else if (files == Files::Plausible) {
            problem = problemOfFile(root, path, status);
        }
        if (!problem.empty()) return problem;
    }
    return "";
}

std::string problemOf(const std::string& root, Files files) {
    std::string problem = rootProblem(root);
    if (problem.empty() && files == Files::Plausible) problem = fileProblem(root, kModelFile);
    for (const char* part : kTvParts) {
        const std::string folder = root + part;
        if (problem.empty()) problem = folderProblem(folder);
        if (problem.empty()) problem = problemBelow(root, folder, files);
    }
    return problem;
}

}  // namespace

std::string folderProblem(const std::string& path) {
    struct stat status{};
    if (lstat(path.c_str(), &status) == 0) return problemOfFolder(path, status);
    return errno == ENOENT ? "" : fileError(path, errno);
}

std::string rootProblem(const std::string& root) {
    struct stat status{};
    if (lstat(root.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return folderProblem(root);
    if (status.st_uid != geteuid() && status.st_uid != 0)
        return root + " is a link that belongs to another user";
    if (stat(root.c_str(), &status) != 0) return root + " is a broken link";
    return problemOfFolder(root, status);
}

std::string fileProblem(const std::string& root, const std::string& name) {
    const std::string path = root + name;
    struct stat status{};
    if (lstat(path.c_str(), &status) == 0) return problemOfFile(root, path, status);
    return errno == ENOENT ? "" : fileError(path, errno);
}

std::string registryProblem(const std::string& root) {
    std::string problem = rootProblem(root);
    for (const char* folder : {kRunFolder, kRegistryFolder}) {
        if (problem.empty()) problem = folderProblem(root + folder);
    }
    const std::string registry = root + kRegistryFolder;
    if (problem.empty() && access(registry.c_str(), R_OK | X_OK) != 0 && errno != ENOENT)
        problem = fileError(registry, errno);
    return problem;
}

std::string foldersProblem(const std::string& root) {
    return problemOf(root, Files::Any);
}

std::string contentProblem(const std::string& root) {
    return problemOf(root, Files::Plausible);
}

}  // namespace hidlaudio::host
