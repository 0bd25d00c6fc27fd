// SPDX-License-Identifier: Apache-2.0
#include <stdlib.h>

#include "descriptors.h"
#include "host/kernel/back_end/transfer_state.h"
#include "host/kernel/faults/faulty_call.h"
#include "host/tv_files/call_record.h"
#include "real_calls.h"

namespace hidlaudio::host {
namespace {

/**
 * Implements fread and fwrite, whose faults include short reads and writes: as many bytes move as the fault
 * allows, and the result counts complete items only.
 */
template <typename Buffer>
size_t transfer(const char* name, size_t (*call)(Buffer, size_t, size_t, FILE*), Buffer buffer, size_t size,
                size_t count, FILE* stream) {
    if (!isTvStream(stream)) return call(buffer, size, count, stream);
    const FaultVerdict verdict = countCall(name, CallOn{nullptr, fileno(stream)});
    if (verdict.error != 0) {
        errno = verdict.error;
        return 0;
    }
    const size_t moved = size == 0 || verdict.bytes / size >= count
                             ? call(buffer, size, count, stream)
                             : call(buffer, 1, verdict.bytes, stream) / size;
    if (moved > 0 && kindOfDescriptor(fileno(stream)) == TvDescriptor::TransferState) {
        noteStateRead(fileno(stream));
    }
    return moved;
}

}  // namespace

extern "C" {

size_t __wrap_fread(void* buffer, size_t size, size_t count, FILE* stream) {
    return transfer("fread", __real_fread, buffer, size, count, stream);
}

/** fread() compiled with _FORTIFY_SOURCE; `bufferSize` is the size of the buffer. */
size_t __wrap___fread_chk(void* buffer, size_t bufferSize, size_t size, size_t count, FILE* stream) {
    if (size != 0 && count > bufferSize / size) abort();
    return transfer("fread", __real_fread, buffer, size, count, stream);
}

size_t __wrap_fwrite(const void* buffer, size_t size, size_t count, FILE* stream) {
    return transfer("fwrite", __real_fwrite, buffer, size, count, stream);
}

int __wrap_fseek(FILE* stream, long offset, int whence) {
    if (!isTvStream(stream)) return __real_fseek(stream, offset, whence);
    return unlessFaulty("fseek", {nullptr, fileno(stream), offset}, -1,
                        [&] { return __real_fseek(stream, offset, whence); });
}

int __wrap_fclose(FILE* stream) {
    if (!isTvStream(stream)) return __real_fclose(stream);
    const int fd = fileno(stream);
    const std::string path = recordsCalls() ? describe({nullptr, fd}) : "";
    if (kindOfDescriptor(fd) == TvDescriptor::TransferState) forgetStateFile(fd);
    forgetTvDescriptor(fd);
    const int result = __real_fclose(stream);
    return unlessFaulty("fclose", {path.c_str()}, EOF, [&] { return result; });
}

}  // extern "C"

}  // namespace hidlaudio::host
