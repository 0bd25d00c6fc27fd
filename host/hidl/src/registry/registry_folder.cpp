// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "registry_folder.h"

#include <errno.h>
#include <fcntl.h>
#include <log/log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "host/hidl/src/connection/shortage.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"

namespace android::hardware::transport {
namespace {

using hidlaudio::host::fileError;
using hidlaudio::host::kRegistryFolder;
using hidlaudio::host::kRunFolder;
using hidlaudio::host::openRegularFile;
using hidlaudio::host::tvRoot;

constexpr char kLockFile[] = "/.lock";
constexpr off_t kWritersByte = 0;

// The byte of a process. The offset fits into 31 bits, since off_t has 32 bits on ARM.
off_t lifeByteOf(uint64_t process) {
    return static_cast<off_t>(1 + (process >> 34));
}

struct flock lockOf(off_t byte) {
    struct flock lock{};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

// Locks a byte. Such a lock belongs to the open file, so it also excludes the other threads.
base::unique_fd lockByte(off_t byte, int command) {
    const std::string path = registryDirectory() + kLockFile;
    base::unique_fd file(openRegularFile(path, O_RDWR | O_CREAT, 0600));
    struct flock lock = lockOf(byte);
    if (file >= 0 && TEMP_FAILURE_RETRY(fcntl(file.get(), command, &lock)) == 0) return file;
    ALOGE("can't lock the service registry: %s", fileError(path, errno).c_str());
    return base::unique_fd();
}

// Creates the folder; returns an error text, or an empty string. Creates and changes nothing below a
// folder that other users own or can write to.
std::string problemOfMaking() {
    const std::string root = tvRoot();
    std::error_code ignored;
    std::filesystem::create_directories(root, ignored);
    std::string problem = hidlaudio::host::rootProblem(root);
    for (const char* folder : {kRunFolder, kRegistryFolder}) {
        const std::string path = root + folder;
        if (problem.empty() && mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
            problem = fileError(path, errno);
        if (problem.empty()) problem = hidlaudio::host::folderProblem(path);
    }
    if (!problem.empty()) return problem;
    const base::unique_fd folder(
        open(registryDirectory().c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    // Only this user may access the sockets and names.
    return folder >= 0 && fchmod(folder.get(), 0700) == 0 ? "" : fileError(registryDirectory(), errno);
}

}  // namespace

std::string registryDirectory() {
    return tvRoot() + kRegistryFolder;
}

bool makeRegistry() {
    const std::string problem = problemOfMaking();
    if (!problem.empty()) ALOGE("can't use the service registry: %s", problem.c_str());
    return problem.empty();
}

std::string registryProblem() {
    return hidlaudio::host::registryProblem(tvRoot());
}

base::unique_fd lockRegistry() {
    return lockByte(kWritersByte, F_OFD_SETLKW);
}

base::unique_fd lockLifeOf(uint64_t process) {
    return lockByte(lifeByteOf(process), F_OFD_SETLK);
}

void LivingProcesses::open() {
    isOpen_ = true;
    lockFile_.reset(openRegularFile(registryDirectory() + kLockFile, O_RDONLY));
    if (lockFile_ >= 0 || !isShortage(errno)) return;
    noteShortage("can't look whether a service lives", errno);
    isUnknown_ = true;
}

bool LivingProcesses::contains(uint64_t process) {
    if (!isOpen_) open();
    if (lockFile_ < 0) return isUnknown_;
    const auto [known, isNew] = known_.try_emplace(process, false);
    if (isNew) {
        struct flock lock = lockOf(lifeByteOf(process));
        known->second = fcntl(lockFile_.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    }
    return known->second;
}

}  // namespace android::hardware::transport
