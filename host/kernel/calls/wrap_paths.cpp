// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>

#include "descriptors.h"
#include "host/kernel/back_end/back_end_driver.h"
#include "host/kernel/back_end/transfer_state.h"
#include "host/kernel/faults/faulty_call.h"
#include "host/tv_files/tv_root.h"
#include "real_calls.h"
#include "tv_path.h"

namespace hidlaudio::host {
namespace {

/** Prepares the opening of a path on the TV, and registers its descriptor. */
class StateFileOpening {
  public:
    explicit StateFileOpening(const char* path) : kind_(stateFileKind(path)) {
        if (!kind_) return;
        const int kept = errno;
        endCutOffTransfer(tvRoot(), *kind_);
        errno = kept;
        // Read before the file is opened: a change in between then counts as unread, and no change is lost.
        changes_ = stateChanges(*kind_);
    }

    /** Registers the open descriptor; ignores -1. */
    void remember(int fd) const {
        if (kind_ && fd >= 0) rememberStateFile(fd, *kind_, changes_);
        rememberTvDescriptor(fd, kind_ ? TvDescriptor::TransferState : TvDescriptor::File);
    }

  private:
    std::optional<UploadKind> kind_;
    uint64_t changes_ = 0;
};

using Open = int (*)(const char*, int, ...);

int openPath(Open realOpen, const char* path, int flags, mode_t mode) {
    const TvPath file(path);
    if (!file.onTv()) return realOpen(path, flags, mode);
    if (path == std::string_view(kBackEndDevice)) {
        const int device = unlessFaulty("open", {path}, -1, [flags] { return openBackEnd(flags); });
        rememberTvDescriptor(device, TvDescriptor::BackEnd);
        return device;
    }
    const StateFileOpening state(path);
    const int fd = unlessFaulty("open", {path}, -1, [&] { return realOpen(file.real(), flags, mode); });
    state.remember(fd);
    return fd;
}

FILE* openStream(FILE* (*realOpen)(const char*, const char*), const char* path, const char* mode) {
    const TvPath file(path);
    if (!file.onTv()) return realOpen(path, mode);
    const StateFileOpening state(path);
    FILE* stream = unlessFaulty<FILE*>("fopen", {path}, nullptr, [&] { return realOpen(file.real(), mode); });
    if (stream != nullptr) state.remember(fileno(stream));
    return stream;
}

template <typename Call>
int onPath(const char* name, const char* path, Call call) {
    const TvPath file(path);
    if (!file.onTv()) return call(path);
    return unlessFaulty(name, {path}, -1, [&] { return call(file.real()); });
}

}  // namespace

extern "C" {

/** If the caller passed no mode, `mode` is undefined; the real call does not use it then. */
int __wrap_open(const char* path, int flags, mode_t mode) {
    return openPath(__real_open, path, flags, mode);
}

int __wrap_open64(const char* path, int flags, mode_t mode) {
    return openPath(__real_open64, path, flags, mode);
}

int __wrap___open_2(const char* path, int flags) {
    return openPath(__real_open, path, flags, 0);
}

int __wrap___open64_2(const char* path, int flags) {
    return openPath(__real_open64, path, flags, 0);
}

int __wrap_creat(const char* path, mode_t mode) {
    return openPath(__real_open, path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

int __wrap_creat64(const char* path, mode_t mode) {
    return openPath(__real_open64, path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

FILE* __wrap_fopen(const char* path, const char* mode) {
    return openStream(__real_fopen, path, mode);
}

FILE* __wrap_fopen64(const char* path, const char* mode) {
    return openStream(__real_fopen64, path, mode);
}

int __wrap_access(const char* path, int mode) {
    return onPath("access", path, [&](const char* real) { return __real_access(real, mode); });
}

int __wrap_remove(const char* path) {
    return onPath("remove", path, __real_remove);
}

int __wrap_unlink(const char* path) {
    return onPath("unlink", path, __real_unlink);
}

}  // extern "C"

}  // namespace hidlaudio::host
