// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>

#include "descriptors.h"
#include "faulty_call.h"
#include "real_calls.h"
#include "tv_path.h"

namespace hidlaudio::host {
namespace {

using Open = int (*)(const char*, int, ...);

int openPath(Open realOpen, const char* path, int flags, mode_t mode) {
    const TvPath file(path);
    if (!file.onTv()) return realOpen(path, flags, mode);
    const int fd = unlessFaulty("open", -1, [&] { return realOpen(file.real(), flags, mode); });
    rememberTvDescriptor(fd);
    return fd;
}

FILE* openStream(FILE* (*realOpen)(const char*, const char*), const char* path, const char* mode) {
    const TvPath file(path);
    if (!file.onTv()) return realOpen(path, mode);
    FILE* stream = unlessFaulty<FILE*>("fopen", nullptr, [&] { return realOpen(file.real(), mode); });
    if (stream != nullptr) rememberTvDescriptor(fileno(stream));
    return stream;
}

template <typename Call>
int onPath(const char* name, const char* path, Call call) {
    const TvPath file(path);
    if (!file.onTv()) return call(path);
    return unlessFaulty(name, -1, [&] { return call(file.real()); });
}

}  // namespace

extern "C" {

/**
 * The mode of a call that passes none is whatever lay in its place; the real call
 * does not look at it then.
 */
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
