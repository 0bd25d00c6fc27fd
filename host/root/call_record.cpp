// SPDX-License-Identifier: Apache-2.0
#include "call_record.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>

namespace hidlaudio::host {
namespace {

/** -1 where there is no record. Stays open: a record must not depend on the descriptors that are left. */
int openRecord() {
    const char* path = getenv(kCallsVariable);
    if (path == nullptr || *path == '\0') return -1;
    return open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
}

int record() {
    static const int fd = openRecord();
    return fd;
}

}  // namespace

bool recordsCalls() {
    return record() >= 0;
}

void recordCall(std::string_view source, std::string_view call, std::string_view on) {
    if (!recordsCalls()) return;
    const int kept = errno;
    std::string line;
    line.append(source).append("\t").append(call).append("\t").append(on).append("\n");
    // One write, so that the lines of two programs do not mix.
    (void)!write(record(), line.data(), line.size());
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
