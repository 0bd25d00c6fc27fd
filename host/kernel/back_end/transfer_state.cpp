// SPDX-License-Identifier: Apache-2.0
#include "transfer_state.h"

#include <android-base/thread_annotations.h>
#include <android/log.h>
#include <string.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <mutex>

#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

struct OpenFile {
    UploadKind kind;
    uint64_t openedAt;  // number of changes before the file was opened
    int event = -1;     // eventfd, created when the file is first watched
};

struct States {
    std::mutex mutex;
    std::map<int, OpenFile> files GUARDED_BY(mutex);
    uint64_t changes[std::size(kUploadKinds)] GUARDED_BY(mutex) = {};
    uint64_t read[std::size(kUploadKinds)] GUARDED_BY(mutex) = {};  // number of changes that were read

    void update(const OpenFile& file) const REQUIRES(mutex);
    void update(UploadKind kind) const REQUIRES(mutex);
};

/** Never destroyed: a transfer may outlive the program's main(). */
States& states() {
    static States& all = *new States;
    return all;
}

using Lock = std::lock_guard<std::mutex>;

void setReadable(int event, bool readable) {
    // A read fails only if the counter is 0. A write cannot fail: the counter stays far below its maximum.
    uint64_t count = 0;
    if (event >= 0 && eventfd_read(event, &count) != 0) count = 0;
    if (event >= 0 && readable) eventfd_write(event, 1);
}

void States::update(const OpenFile& file) const {
    const size_t kind = indexOf(file.kind);
    setReadable(file.event, changes[kind] > std::max(read[kind], file.openedAt));
}

void States::update(UploadKind kind) const {
    for (const auto& [fd, file] : files) {
        if (file.kind == kind) update(file);
    }
}

}  // namespace

std::optional<UploadKind> stateFileKind(const char* path) {
    for (const UploadKind kind : kUploadKinds) {
        if (path != nullptr && path == transferStateFile(kind)) return kind;
    }
    return std::nullopt;
}

int publishTransferState(const std::string& root, UploadKind kind, uint8_t state, uint8_t result) {
    const std::string path = root + transferStateFile(kind);
    const std::string bytes{static_cast<char>(state), static_cast<char>(result)};
    States& all = states();
    // Also held while the file is written, so that stateChanges() counts every change that the file shows.
    const Lock lock(all.mutex);
    const int error = writeValueFile(path, bytes);
    if (error != 0) {
        __android_log_print(ANDROID_LOG_ERROR, kBackEndTag, "%s cannot be written: %s", path.c_str(),
                            strerror(error));
    }
    ++all.changes[indexOf(kind)];
    all.update(kind);
    return error;
}

uint64_t stateChanges(UploadKind kind) {
    const Lock lock(states().mutex);
    return states().changes[indexOf(kind)];
}

void rememberStateFile(int fd, UploadKind kind, uint64_t changes) {
    const Lock lock(states().mutex);
    states().files[fd] = {kind, changes};
}

void forgetStateFile(int fd) {
    const Lock lock(states().mutex);
    const auto file = states().files.find(fd);
    if (file == states().files.end()) return;
    if (file->second.event >= 0) close(file->second.event);
    states().files.erase(file);
}

void noteStateRead(int fd) {
    States& all = states();
    const Lock lock(all.mutex);
    const auto file = all.files.find(fd);
    if (file == all.files.end()) return;
    uint64_t& read = all.read[indexOf(file->second.kind)];
    read = std::max(read, file->second.openedAt);
    all.update(file->second.kind);
}

int descriptorToWatch(int fd) {
    States& all = states();
    const Lock lock(all.mutex);
    const auto file = all.files.find(fd);
    if (file == all.files.end()) return fd;
    if (file->second.event < 0) {
        file->second.event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        all.update(file->second);
    }
    return file->second.event;
}

}  // namespace hidlaudio::host
