// SPDX-License-Identifier: Apache-2.0
#include "call_record.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>

namespace hidlaudio::host {
namespace {

struct Record {
    int fd = -1;
    int error = 0;
};

/** Opens the record once and keeps it open, so that recording works even if no descriptor is left. */
Record openRecord() {
    const char* path = getenv(kCallsVariable);
    if (path == nullptr || *path == '\0') return {};
    // openat(), because open() is a recorded call if the path is one of the TV's, such as /data/calls.
    // O_NONBLOCK: opening a named pipe does not wait for its reader. It is cleared for the writes.
    const int fd = openat(AT_FDCWD, path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0644);
    if (fd < 0) return {-1, errno};
    fcntl(fd, F_SETFL, O_APPEND);
    return {fd, 0};
}

const Record& record() {
    static const Record theRecord = openRecord();
    return theRecord;
}

}  // namespace

int callRecordError() {
    return record().error;
}

bool recordsCalls() {
    return record().fd >= 0;
}

void recordCall(std::string_view source, std::string_view call, std::string_view target) {
    if (!recordsCalls()) return;
    const int kept = errno;
    std::string line;
    line.append(source).append("\t").append(call).append("\t").append(target).append("\n");
    // A single write keeps lines of two programs from mixing.
    (void)!write(record().fd, line.data(), line.size());
    errno = kept;
}

std::vector<RecordedCall> readCallRecord(const std::string& path) {
    std::vector<RecordedCall> calls;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const size_t first = line.find('\t');
        const size_t second = line.find('\t', first == line.npos ? first : first + 1);
        if (second == line.npos) continue;
        calls.push_back(
            {line.substr(0, first), line.substr(first + 1, second - first - 1), line.substr(second + 1)});
    }
    return calls;
}

}  // namespace hidlaudio::host
