// SPDX-License-Identifier: Apache-2.0
#include "record_tail.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/program/split_text.h"
#include "host/tv_files/regular_file.h"

namespace hidlaudio::host {

RecordTail::RecordTail(const std::string& path, From from) : file_(openRegularFile(path, O_RDONLY)) {
    if (file_.get() < 0) error_ = errno;
    if (from == From::End && error_ == 0) read_ = lseek(file_.get(), 0, SEEK_END);
}

std::vector<std::string> RecordTail::takeLines() {
    char piece[65536];
    ssize_t size = 0;
    while ((size = pread(file_.get(), piece, sizeof(piece), read_)) > 0) {
        incomplete_.append(piece, static_cast<size_t>(size));
        read_ += size;
    }
    const size_t end = incomplete_.rfind('\n');
    if (end == std::string::npos) return {};
    const std::vector<std::string> lines = splitLines(incomplete_.substr(0, end));
    incomplete_.erase(0, end + 1);
    return lines;
}

}  // namespace hidlaudio::host
