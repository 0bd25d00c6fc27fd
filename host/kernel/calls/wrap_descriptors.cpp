// SPDX-License-Identifier: Apache-2.0
#include <stdlib.h>

#include <algorithm>

#include "descriptors.h"
#include "host/kernel/back_end/back_end_driver.h"
#include "host/kernel/back_end/transfer_state.h"
#include "host/kernel/clock/clock_calls.h"
#include "host/kernel/faults/faulty_call.h"
#include "host/tv_files/call_record.h"
#include "real_calls.h"

namespace hidlaudio::host {
namespace {

/** Implements read and write, whose faults include short reads and writes. */
template <typename Buffer>
ssize_t transfer(const char* name, ssize_t (*call)(int, Buffer, size_t), int fd, Buffer buffer,
                 size_t count) {
    if (!isTvDescriptor(fd)) return call(fd, buffer, count);
    const FaultVerdict verdict = countCall(name, CallOn{nullptr, fd});
    if (verdict.error != 0) {
        errno = verdict.error;
        return -1;
    }
    const ssize_t moved = call(fd, buffer, std::min(count, verdict.bytes));
    if (moved > 0 && kindOfDescriptor(fd) == TvDescriptor::TransferState) noteStateRead(fd);
    return moved;
}

template <typename Result, typename Call>
Result onDescriptor(const char* name, int fd, Call call, long number = 0) {
    return isTvDescriptor(fd) ? unlessFaulty<Result>(name, {nullptr, fd, number}, -1, call) : call();
}

}  // namespace

extern "C" {

ssize_t __wrap_read(int fd, void* buffer, size_t count) {
    return transfer("read", __real_read, fd, buffer, count);
}

/** read() compiled with _FORTIFY_SOURCE; `size` is the size of the buffer. */
ssize_t __wrap___read_chk(int fd, void* buffer, size_t count, size_t size) {
    if (count > size) abort();
    return transfer("read", __real_read, fd, buffer, count);
}

ssize_t __wrap_write(int fd, const void* buffer, size_t count) {
    return transfer("write", __real_write, fd, buffer, count);
}

int __wrap_fsync(int fd) {
    return onDescriptor<int>("fsync", fd, [&] { return __real_fsync(fd); });
}

long __wrap_lseek(int fd, long offset, int whence) {
    return onDescriptor<long>("lseek", fd, [&] { return __real_lseek(fd, offset, whence); });
}

int64_t __wrap_lseek64(int fd, int64_t offset, int whence) {
    return onDescriptor<int64_t>("lseek", fd, [&] { return __real_lseek64(fd, offset, whence); });
}

int __wrap_ioctl(int fd, unsigned long request, void* argument) {
    return onDescriptor<int>(
        "ioctl", fd,
        [&] {
            return kindOfDescriptor(fd) == TvDescriptor::BackEnd ? controlBackEnd(request, argument)
                                                                 : __real_ioctl(fd, request, argument);
        },
        static_cast<long>(request));
}

int __wrap_close(int fd) {
    dropTimerOnClock(fd);
    if (!isTvDescriptor(fd)) return __real_close(fd);
    const std::string path = recordsCalls() ? describe({nullptr, fd}) : "";
    if (kindOfDescriptor(fd) == TvDescriptor::TransferState) forgetStateFile(fd);
    forgetTvDescriptor(fd);
    const int result = __real_close(fd);
    return unlessFaulty("close", {path.c_str()}, -1, [&] { return result; });
}

}  // extern "C"

}  // namespace hidlaudio::host
